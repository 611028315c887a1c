#include <gmock/gmock.h>

#include "tests/plugins/db/ArchiveFixture.h"

namespace {

using namespace TerrascopeTest;

/// The head of a picture, as SQL.
constexpr char kPng512x384[] = "X'89504E470D0A1A0A0000000D49484452000002000000018008060000000000'";

class Mbtiles : public ArchiveFixture {};

TEST_F(Mbtiles, IsDescribedByItsMetadataOrElseByItsTiles) {
    const std::string world = MbtilesSql(0, 3, 0, 0);
    const std::string region = MbtilesSql(2, 4, 1, 1);  // second tile from the west and the south
    const std::pair<std::string, const char*> cases[] = {
        {world, "a.b  1-3 2x2..8x8 (-180 -180 360 360) 256x256"},
        {world + "DROP TABLE metadata", "a.b  1-3 2x2..8x8 (-180 -180 360 360) 256x256"},
        {world + "DROP INDEX tile_index", "a.b  1-3 2x2..8x8 (-180 -180 360 360) 256x256"},
        {region, "a.b  2-4 1x1..4x4 (-90 -90 90 90) 256x256"},
        {region + Metadata("bounds", "-90,-85.0511,0.000001,66.513261") + Metadata("name", "Alps"),
         "Alps  2-4 1x3..4x12 (-90 -180 90 270) 256x256"},
        {region + Metadata("bounds", "-89,-1e-1,-1,1e-1"),
         "a.b  2-4 1x2..4x8 (-90 -90 90 180) 256x256"},
        {region + Metadata("bounds", "170,10,-170,20"),
         "a.b  2-4 4x1..16x4 (-180 0 360 90) 256x256"},
        {region + Metadata("minzoom", "3") + Metadata("maxzoom", "40") +
             Metadata("bounds", "1,2,3"),
         "a.b  3-4 2x2..4x4 (-90 -90 90 90) 256x256"},
        {region + Metadata("minzoom", "22"), "a.b  2-4 1x1..4x4 (-90 -90 90 90) 256x256"},
        {MbtilesSql(1, 1, 0, 0,
                    "DROP TABLE tiles; CREATE TABLE tiles (zoom_level, tile_column, "
                    "tile_row, tile_data); INSERT INTO tiles VALUES (2, 3, 1, 'a'), "
                    "(2, '1', 1, 'a'), (2, '-4', 1, 'a');"),
         "a.b  2-2 4x4..4x4 (-180 -180 360 360) 256x256"},
        {region + Metadata("minzoom", "0") + Metadata("maxzoom", "9"),
         "a.b  2-4 1x1..4x4 (-90 -90 90 90) 256x256"},
        {region + Metadata("minzoom", "x") + Metadata("maxzoom", "-3") +
             Metadata("bounds", "0,0,nan,1e999") + Metadata("version", "one") +
             "INSERT INTO metadata VALUES (NULL, NULL), ('format', 7);",
         "a.b 7 2-4 1x1..4x4 (-90 -90 90 90) 256x256"},
        {region + "UPDATE tiles SET tile_data = " + kPng512x384 + ";" + Metadata("format", "jpeg"),
         "a.b png 2-4 1x1..4x4 (-90 -90 90 90) 512x384"},
    };
    for (const auto& [sql, map] : cases) {
        ExecuteAnew("a.b.mbtiles", sql);
        Open("a.b.mbtiles");
        EXPECT_EQ(map, MapText(MapNames().empty() ? "" : MapNames()[0])) << sql;
    }
}

TEST_F(Mbtiles, IsAnotherFileWithOtherTilesWhereTheseMakeTheMap) {
    for (const bool hasBounds : {false, true}) {
        ExecuteAnew("m.mbtiles",
                    MbtilesSql(1, 1, 0, 1, hasBounds ? Metadata("bounds", "-180,-85,180,85") : ""));
        Open();
        EXPECT_EQ("1/1/0", Tile("m", "3"));
        Execute("m.mbtiles", "DELETE FROM tiles WHERE tile_column = 0");
        EXPECT_EQ(hasBounds ? "1/1/0" : "none", Tile("m", "3"));
    }
}

TEST_F(Mbtiles, DeliversTheTileUnderTheKey) {
    const std::string region = MbtilesSql(
        3, 5, 5, 6, "UPDATE tiles SET tile_data = X'' WHERE zoom_level = 5 AND tile_column = 21;");
    // The usual way to store a tile once that occurs often.
    const std::string views = region +
                              "ALTER TABLE tiles RENAME TO images; CREATE VIEW tiles AS SELECT m.* "
                              "FROM images m JOIN images i ON i.rowid = m.rowid;";
    for (const std::string& sql : {region, views}) {
        ExecuteAnew("m.mbtiles", sql);
        Open();
        EXPECT_EQ("m  3-5 2x2..8x8 (45 45 90 90) 256x256", MapText("M"));
        const std::vector<std::pair<const char*, const char*>> tiles = {
            {"000", "3/5/6"},    {"001", "3/6/6"},     {"002", "3/5/5"},     {"0003", "4/11/12"},
            {"0012", "4/12/12"}, {"00000", "5/20/27"}, {"00333", "5/27/20"}, {"00001", "none"},
            {"010", "none"},     {"0", "none"},        {"", "none"},         {"000000", "none"},
            {"00x", "none"},     {"-", "none"}};
        for (const auto& [key, bytes] : tiles) {
            EXPECT_EQ(bytes, Tile("m", key)) << key;
        }
    }
}

}  // namespace

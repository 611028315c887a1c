#include <gmock/gmock.h>

#include <memory>

#include "tests/plugins/db/ArchiveFixture.h"

namespace {

using namespace TerrascopeTest;
using testing::ElementsAre;

constexpr char kTables[] =
    "CREATE TABLE gpkg_spatial_ref_sys (srs_name TEXT, srs_id INTEGER PRIMARY KEY, organization "
    "TEXT, organization_coordsys_id INTEGER, definition TEXT, description TEXT);"
    "CREATE TABLE gpkg_contents (table_name TEXT PRIMARY KEY, data_type TEXT, identifier TEXT "
    "UNIQUE, description TEXT, last_change TEXT, min_x DOUBLE, min_y DOUBLE, max_x DOUBLE, max_y "
    "DOUBLE, srs_id INTEGER);"
    "CREATE TABLE gpkg_tile_matrix_set (table_name TEXT PRIMARY KEY, srs_id INTEGER, min_x DOUBLE, "
    "min_y DOUBLE, max_x DOUBLE, max_y DOUBLE);"
    "CREATE TABLE gpkg_tile_matrix (table_name TEXT, zoom_level INTEGER, matrix_width INTEGER, "
    "matrix_height INTEGER, tile_width INTEGER, tile_height INTEGER, pixel_x_size DOUBLE, "
    "pixel_y_size DOUBLE);"
    "INSERT INTO gpkg_spatial_ref_sys VALUES ('', 7, 'NONE', 25832, '', '');";

/// SQL with values: %Q is a text in its quotes, %w is quoted as the name in double quotes it is.
std::string Filled(const char* pattern, auto... values) {
    const std::unique_ptr<char, void (*)(void*)> sql(sqlite3_mprintf(pattern, values...),
                                                     &sqlite3_free);
    return sql.get();
}

struct Level {
    int zoom;
    int columns;
    int rows;
    double pixel;
    int tileSide = 256;
};

/// A table whose tiles hold "zoom/column/row": all of each level's matrix. `set` is its corners,
/// `contents` the numbers of gpkg_contents.
std::string TableSql(const char* name, int system, const char* set, const char* contents,
                     const std::vector<Level>& levels) {
    std::string sql = Filled(
        "INSERT INTO gpkg_contents VALUES (%Q, 'tiles', NULL, 'about %d', '', %s, 0);"
        "INSERT INTO gpkg_tile_matrix_set VALUES (%Q, %d, %s);"
        "CREATE TABLE \"%w\" (id INTEGER PRIMARY KEY, zoom_level INTEGER, tile_column INTEGER, "
        "tile_row INTEGER, tile_data BLOB, UNIQUE (zoom_level, tile_column, tile_row));",
        name, system, contents, name, system, set, name);
    for (const auto& [zoom, columns, rows, pixel, side] : levels) {
        sql += Filled(
            "INSERT INTO gpkg_tile_matrix VALUES (%Q, %d, %d, %d, %d, %d, %f, %f);"
            "WITH RECURSIVE x(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM x WHERE i + 1 < %d), "
            "y(j) AS (SELECT 0 UNION ALL SELECT j + 1 FROM y WHERE j + 1 < %d) INSERT INTO "
            "\"%w\" SELECT NULL, %d, i, j, CAST('%d/' || i || '/' || j AS BLOB) FROM x, y;",
            name, zoom, columns, rows, side, side, pixel, pixel, columns, rows, name, zoom, zoom);
    }
    return sql;
}

class GeoPackage : public ArchiveFixture {
protected:
    static constexpr char kMercator[] =
        "-20037508.342789244, -20037508.342789244, 20037508.342789244, 20037508.342789244";
    static constexpr char kNoContents[] = "NULL, NULL, NULL, NULL";
};

TEST_F(GeoPackage, EachTableOfTilesIsAMap) {
    // 78271.5: the pixel of 512 over the Mercator world; 0.703125: of two tiles over the degrees.
    const double world = 20037508.342789244 / 256;
    const char* degrees = "-180, -90, 180, 90";
    Execute("g.gpkg",
            kTables +
                TableSql("world", 3857, kMercator, kNoContents,
                         {{0, 1, 1, world * 2}, {1, 2, 2, world}, {2, 4, 4, world / 2}}) +
                TableSql("region", 3857, kMercator, "1000000, 5000000, 2000000, 6000000",
                         {{2, 4, 4, world / 2}, {3, 8, 8, world / 4}}) +
                TableSql("degrees", 4326, degrees, kNoContents,
                         {{0, 2, 1, 0.703125}, {1, 4, 2, 0.3515625}}) +
                TableSql("it's \"own\"", 7, "500000, 0, 501000, 1000", kNoContents,
                         {{0, 5, 3, 1.0, 128}, {1, 9, 5, 0.5, 128}}) +
                TableSql("top alone", 25833, "0, 0, 10, 10", kNoContents, {{0, 1, 1, 1, 10}}) +
                TableSql("nothing", 3857, kMercator, kNoContents, {}) +
                TableSql("elevation", 3857, kMercator, kNoContents, {{0, 1, 1, world * 2}}) +
                "UPDATE gpkg_contents SET data_type = '2d-gridded-coverage' WHERE table_name = "
                "'elevation';");
    Open();
    EXPECT_THAT(MapNames(), ElementsAre("degrees", "it's \"own\"", "region", "top alone", "world"));
    const std::vector<std::pair<const char*, const char*>> maps = {
        {"world", "world  1-2 2x2..4x4 (-180 -180 360 360) 256x256"},
        {"region", "region  2-3 1x1..2x2 (0 0 90 90) 256x256"},
        {"degrees", "degrees  1-2 2x1..4x2 (-180 -90 360 180) 256x256"},
        {"it's \"own\"", "it's \"own\"  3-4 5x3..10x6 (500000 616 640 384) 128x128"},
        {"top alone", "top alone  1-1 1x1..1x1 (0 0 10 10) 10x10"}};
    for (const auto& [name, text] : maps) {
        EXPECT_EQ(text, MapText(name));
    }
    EXPECT_EQ("about 7 Map units are those of NONE:25832.", Remark("it's \"own\""));
    EXPECT_EQ("about 4326", Remark("degrees"));
    EXPECT_EQ(1, m_log.Count("table 'nothing': it has no tiles"));
    const std::vector<std::array<const char*, 3>> tiles = {
        {"world", "12", "2/2/1"},          {"world", "", "none"},
        {"region", "00", "2/2/1"},         {"region", "003", "3/5/3"},
        {"region", "01", "none"},          {"degrees", "1", "0/1/0"},
        {"degrees", "2", "none"},          {"degrees", "13", "1/3/1"},
        {"it's \"own\"", "120", "0/4/2"},  {"it's \"own\"", "1001", "none"},
        {"it's \"own\"", "1000", "1/8/0"}, {"top alone", "0", "0/0/0"}};
    for (const auto& [map, key, bytes] : tiles) {
        EXPECT_EQ(bytes, Tile(map, key)) << map << " " << key;
    }
}

TEST_F(GeoPackage, AMapEndsWhereItsMatricesDoNotHalve) {
    const struct {
        std::vector<Level> levels;
        const char *map, *reason;
    } cases[] = {
        {{{1, 2, 2, 4}, {2, 4, 4, 2}, {3, 8, 8, 1.5}}, "1-2 2x2..4x4", "not half as large"},
        {{{1, 2, 2, 4}, {2, 4, 4, 2.01}}, "1-1 2x2..2x2", "not half as large"},
        {{{1, 2, 2, 4}, {2, 4, 4, 1.9999}}, "1-2 2x2..4x4", ""},
        {{{1, 2, 2, 4}, {3, 4, 4, 1}}, "1-1 2x2..2x2", "no zoom level 2"},
        {{{1, 2, 2, 4}, {2, 2, 2, 2, 512}}, "1-1 2x2..2x2", "tiles of another size"},
        {{{0, 1, 1, 8}, {1, 5, 2, 4}}, "1-1 1x1..1x1", "more tiles than"},
        {{{1, 2, 2, 4}, {2, 4, 4, -2}}, "1-1 2x2..2x2", "an unusable matrix"},
        {{{1, 2, 2, 1e7}}, "none", "its extent is larger than a map can have"},
        {{{1, 2, 2, 0}}, "none", "an unusable matrix"},
    };
    for (const auto& [levels, map, reason] : cases) {
        ExecuteAnew("g.gpkg", kTables + TableSql("t", 2, "0, 0, 2048, 2048", kNoContents, levels));
        const auto lines = m_log.Lines().size();
        Open();
        EXPECT_THAT(MapText("t"), testing::HasSubstr(map));
        EXPECT_EQ(*reason != '\0' ? 1U : 0U, m_log.Lines().size() - lines) << m_log.Text();
        EXPECT_THAT(m_log.Lines().back(), testing::HasSubstr(reason));
    }
}

TEST_F(GeoPackage, IsAnotherFileWithOtherContents) {
    for (const char* change : {"min_x = 0", "identifier = 'x'", "description = NULL"}) {
        ExecuteAnew("g.gpkg", kTables + TableSql("t", 2, "0, 0, 2048, 2048", "1, 0, 2048, 2048",
                                                 {{1, 2, 2, 4}}));
        Open();
        EXPECT_EQ("1/1/0", Tile("t", "1"));
        Execute("g.gpkg", std::string("UPDATE gpkg_contents SET ") + change);
        EXPECT_EQ("none", Tile("t", "1")) << change;
    }
    Execute("g.gpkg",
            "UPDATE gpkg_contents SET description = printf('%.*c', 1500000, 'x');"
            "INSERT INTO gpkg_spatial_ref_sys VALUES ('', 2, 'a', 2, '', '')");
    Open();
    EXPECT_EQ("1/1/0", Tile("t", "1"));
    Execute("g.gpkg", "UPDATE gpkg_contents SET description = printf('%.*c', 5000000, 'x')");
    Open();
    EXPECT_TRUE(MapNames().empty());
    EXPECT_EQ(1, m_log.Count("more than 4 MiB")) << m_log.Text();
}

}  // namespace

#include "plugins/split_file/MapDescription.h"

#include <gtest/gtest.h>

#include "terrascope/support/MemIniFile.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Plugins;

/// A usable description with one key changed; "" takes the key out.
MapReading Read(const char* section, const char* key, const char* value) {
    CMemIniFile file("", false);
    for (const auto& [name, text] : {std::pair{"LAYER_COUNT", "3"},
                                     {"LONGITUDE_START", " -180"},
                                     {"LATITUDE_START", "-90 "},
                                     {"LONGITUDE", "360"},
                                     {"LATITUDE", "1.8e2"}})
        file.WriteString("MAP", name, text);
    file.WriteString(section, key, value);
    SYSTEMTIME time{};
    time.wYear = 2001;
    return ReadMapDescription(file, "folder", time);
}

TEST(MapDescription, FillsInWhatIsNotSaid) {
    const MapReading reading = Read("OTHER", "KEY", "x");
    ASSERT_NE(nullptr, reading.map);
    const tagTILE_MAP_INFO& info = reading.map->info;
    EXPECT_STREQ("folder", info.strName);
    EXPECT_STREQ("jpg", info.strTileFormat);
    EXPECT_EQ(2001, info.stUpdateTime.wYear);
    EXPECT_EQ(1, info.nFirstLayer);
    EXPECT_EQ(-180.0, info.dLongitudeStart);
    EXPECT_EQ(180.0, info.dLatitude);
    EXPECT_EQ(256, info.nTileWidth);
    ASSERT_EQ(3u, reading.map->layers.size());
    EXPECT_EQ(3, reading.map->layers[2].nLayerNumber);
    EXPECT_EQ(4, reading.map->layers[2].nTileCountX);
    EXPECT_EQ(1.0, reading.map->layers[2].dZoomFactor);
    EXPECT_EQ("2\\1\\1.jpg", reading.map->tilePath.Expand(*ParseTileKey("03"), "03", "jpg"));
    EXPECT_EQ(nullptr, reading.map->FindLayer(0));
    EXPECT_EQ(nullptr, reading.map->FindLayer(4));
}

TEST(MapDescription, DoublesTheFirstLayersCountsAndTakesTheLayersOwn) {
    EXPECT_EQ(8, Read("LAYER_1", "TILE_COUNT_X", "2").map->layers[2].nTileCountX);
    const MapReading own = Read("LAYER_2", "TILE_COUNT_Y", "1");
    EXPECT_EQ(1, own.map->layers[1].nTileCountY);
    EXPECT_EQ(4, own.map->layers[2].nTileCountY) << "counted from the first layer";
    EXPECT_EQ(0.75, Read("layer_3", "zoom_factor", "0.75").map->layers[2].dZoomFactor);
}

struct BadValue {
    const char* section;
    const char* key;
    const char* value;
    friend void PrintTo(const BadValue& c, std::ostream* out) { *out << c.key << "=" << c.value; }
};
class UnusableDescription : public testing::TestWithParam<BadValue> {};

TEST_P(UnusableDescription, IsRefusedWithTheKeyAndAReason) {
    const MapReading reading = Read(GetParam().section, GetParam().key, GetParam().value);
    EXPECT_EQ(nullptr, reading.map);
    ASSERT_EQ(1u, reading.problems.size());
    EXPECT_STREQ(GetParam().section, reading.problems[0].section);
    EXPECT_STREQ(GetParam().key, reading.problems[0].key);
    EXPECT_FALSE(reading.problems[0].reason.IsEmpty());
}

const std::string longName(256, 'n');
INSTANTIATE_TEST_SUITE_P(
    , UnusableDescription,
    testing::Values(
        BadValue{"MAP", "LAYER_COUNT", ""}, BadValue{"MAP", "LAYER_COUNT", "0"},
        BadValue{"MAP", "LAYER_COUNT", "-1"}, BadValue{"MAP", "LAYER_COUNT", "31"},
        BadValue{"MAP", "LAYER_COUNT", "2000000000"},
        BadValue{"MAP", "LAYER_COUNT", "99999999999999999999"},
        BadValue{"MAP", "LAYER_COUNT", "3x"}, BadValue{"MAP", "LAYER_COUNT", "3.0"},
        BadValue{"MAP", "LAYER_COUNT", "%s%n"}, BadValue{"MAP", "FIRST_LAYER", "0"},
        BadValue{"MAP", "FIRST_LAYER", "31"}, BadValue{"MAP", "LONGITUDE_START", ""},
        BadValue{"MAP", "LONGITUDE_START", "1,5"}, BadValue{"MAP", "LATITUDE_START", "-inf"},
        BadValue{"MAP", "LONGITUDE", "nan"}, BadValue{"MAP", "LONGITUDE", "0"},
        BadValue{"MAP", "LATITUDE", "-180"}, BadValue{"MAP", "LATITUDE", "1e999"},
        BadValue{"MAP", "TILE_WIDTH", "-256"}, BadValue{"MAP", "TILE_HEIGHT", "8193"},
        BadValue{"MAP", "TILE_PATH", "{z}\\{x}.jpg"}, BadValue{"MAP", "NAME", longName.c_str()},
        BadValue{"LAYER_1", "TILE_COUNT_X", "3"}, BadValue{"LAYER_2", "TILE_COUNT_Y", "0"},
        BadValue{"LAYER_3", "ZOOM_FACTOR", "nan"}, BadValue{"LAYER_3", "ZOOM_FACTOR", "-1"}));

TEST(MapDescription, PassesOverATimeThatIsNone) {
    EXPECT_EQ(12, Read("MAP", "UPDATE_TIME", "2024-12-31").map->info.stUpdateTime.wMonth);
    EXPECT_EQ(8, Read("MAP", "UPDATE_TIME", "2024-5-6 7:08:9").map->info.stUpdateTime.wMinute);
    for (const char* time : {"yesterday", "2024-13-01", "2024-02-30", "2024-05-06 07:08", "2024",
                             "2024-05-06 25:00:00", "2024-05-06 07:08:09 x", "99999-1-1"}) {
        const MapReading reading = Read("MAP", "UPDATE_TIME", time);
        ASSERT_NE(nullptr, reading.map) << time;
        EXPECT_EQ(2001, reading.map->info.stUpdateTime.wYear) << time;
        EXPECT_EQ(1u, reading.problems.size()) << time;
    }
}

}  // namespace

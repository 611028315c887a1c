#include "plugins/split_file/MapDescription.h"

#include <gtest/gtest.h>

#include <sstream>

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
    EXPECT_STREQ("folder.jpg", info.strName + "." + info.strTileFormat);
    EXPECT_EQ(2001, info.stUpdateTime.wYear);
    EXPECT_EQ(180.0, info.dLatitude);
    EXPECT_EQ(256, info.nTileWidth);
    ASSERT_EQ(3u, reading.map->layers.size());
    EXPECT_EQ(3, reading.map->layers[2].nLayerNumber);
    EXPECT_EQ(4, reading.map->layers[2].nTileCountX);
    EXPECT_EQ("2\\1\\1.jpg", reading.map->tilePath.Expand(*ParseTileKey("03"), "03", "jpg"));
    EXPECT_EQ(nullptr, reading.map->FindLayer(0));
    EXPECT_EQ(nullptr, reading.map->FindLayer(4));
}

TEST(MapDescription, DoublesTheFirstLayersCountsAndTakesTheLayersOwn) {
    EXPECT_EQ(8, Read("LAYER_1", "TILE_COUNT_X", "2").map->layers[2].nTileCountX);
    const auto layers = Read("LAYER_2", "TILE_COUNT_Y", "1").map->layers;
    EXPECT_EQ(1, layers[1].nTileCountY);
    EXPECT_EQ(4, layers[2].nTileCountY) << "counted from the first layer";
    EXPECT_EQ(0.75, Read("layer_3", "zoom_factor", "0.75").map->layers[2].dZoomFactor);
}

TEST(MapDescription, IsRefusedWithTheKeyAndAReason) {
    std::istringstream table(
        "MAP LAYER_COUNT= MAP LAYER_COUNT=0 MAP LAYER_COUNT=-1 MAP LAYER_COUNT=31 "
        "MAP LAYER_COUNT=2000000000 MAP LAYER_COUNT=99999999999999999999 MAP LAYER_COUNT=3x "
        "MAP LAYER_COUNT=3.0 MAP LAYER_COUNT=%s%n MAP FIRST_LAYER=0 MAP FIRST_LAYER=31 "
        "MAP LONGITUDE_START= MAP LONGITUDE_START=1,5 MAP LATITUDE_START=-inf MAP LONGITUDE=nan "
        "MAP LONGITUDE=0 MAP LATITUDE=-180 MAP LATITUDE=1e999 MAP TILE_WIDTH=-256 "
        "MAP TILE_HEIGHT=8193 MAP TILE_PATH={z}\\{x}.jpg LAYER_1 TILE_COUNT_X=3 "
        "LAYER_2 TILE_COUNT_Y=0 LAYER_3 ZOOM_FACTOR=nan LAYER_3 ZOOM_FACTOR=-1 MAP NAME=" +
        std::string(256, 'n'));
    for (std::string section, line; table >> section >> line;) {
        const std::string key = line.substr(0, line.find('='));
        const MapReading reading =
            Read(section.c_str(), key.c_str(), line.substr(key.size() + 1).c_str());
        EXPECT_EQ(nullptr, reading.map) << line;
        ASSERT_EQ(1u, reading.problems.size()) << line;
        EXPECT_STREQ((section + key).c_str(),
                     reading.problems[0].section + reading.problems[0].key);
        EXPECT_FALSE(reading.problems[0].reason.IsEmpty()) << line;
    }
}

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

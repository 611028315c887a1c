#include "plugins/split_file/MapDescription.h"

#include <gtest/gtest.h>

#include <sstream>

#include "terrascope/support/ini/MemIniFile.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Plugins;

/// A usable description of three layers with further keys, "SECTION KEY=value;...".
MapReading Read(const std::string& keys) {
    CMemIniFile file("", false);
    std::istringstream lines(
        "MAP LAYER_COUNT=3;MAP LONGITUDE_START= -180;MAP LATITUDE_START=-90 ;MAP LONGITUDE=360;"
        "MAP LATITUDE=1.8e2;" +
        keys);
    for (std::string section, key, value; std::getline(lines, section, ' ');) {
        std::getline(lines, key, '=');
        std::getline(lines, value, ';');
        file.WriteString(section.c_str(), key.c_str(), value.c_str());
    }
    SYSTEMTIME time{};
    time.wYear = 2001;
    return ReadMapDescription(file, "folder", time);
}

TEST(MapDescription, FillsInWhatIsNotSaid) {
    const MapReading reading =
        Read("LAYER_1 TILE_COUNT_X=2;LAYER_2 TILE_COUNT_Y=1;layer_3 zoom_factor=32");
    ASSERT_NE(nullptr, reading.map);
    EXPECT_TRUE(reading.problems.empty()) << "256 x 32 is not too large for a tile";
    const tagTILE_MAP_INFO& info = reading.map->info;
    EXPECT_STREQ("folder.jpg", info.strName + "." + info.strTileFormat);
    EXPECT_EQ(2001, info.stUpdateTime.wYear);
    const auto& layers = reading.map->layers;
    ASSERT_EQ(3U, layers.size());
    EXPECT_EQ(3, layers[2].nLayerNumber);
    EXPECT_EQ(8, layers[2].nTileCountX);
    EXPECT_EQ(1, layers[1].nTileCountY);
    EXPECT_EQ(4, layers[2].nTileCountY) << "counted from the first layer";
    EXPECT_EQ(32, layers[2].dZoomFactor);
    EXPECT_EQ("2\\1\\1.jpg", reading.map->tilePath.Expand(2, {1, 1, 0}, "03", "jpg"));
    EXPECT_EQ(12, Read("MAP UPDATE_TIME=2024-12-31").map->info.stUpdateTime.wMonth);
    EXPECT_EQ(8, Read("MAP UPDATE_TIME=2024-5-6 7:08:9").map->info.stUpdateTime.wMinute);
}

TEST(MapDescription, NamesTheKeyThatCannotBeUsedAndDoesWithoutIt) {
    // How many of three layers are left, and what is wrong; the first key is the one to be named.
    std::istringstream cases(
        "0 MAP LAYER_COUNT=|0 MAP LAYER_COUNT=0|0 MAP LAYER_COUNT=31|0 MAP LAYER_COUNT=2000000000|"
        "0 MAP LAYER_COUNT=99999999999999999999|0 MAP LAYER_COUNT=3x|0 MAP LAYER_COUNT=3.0|"
        "0 MAP LAYER_COUNT=%s%n|0 MAP FIRST_LAYER=0|0 MAP FIRST_LAYER=31|0 MAP LONGITUDE_START=|"
        "0 MAP LONGITUDE_START=1,5|0 MAP LATITUDE_START=-inf|0 MAP LONGITUDE=nan|0 MAP LONGITUDE=0|"
        "0 MAP LATITUDE=-180|0 MAP LATITUDE=1e999|0 MAP TILE_WIDTH=-256|0 MAP TILE_HEIGHT=65536|"
        "0 MAP TILE_PATH={z}\\{x}.jpg|0 LAYER_1 TILE_COUNT_X=3|1 LAYER_2 TILE_COUNT_Y=0|"
        "2 LAYER_3 ZOOM_FACTOR=nan|2 LAYER_3 ZOOM_FACTOR=-1|1 LAYER_2 ZOOM_FACTOR=128|"
        "0 LAYER_1 ZOOM_FACTOR=32.01|2 LAYER_3 ZOOM_FACTOR=0.9;MAP TILE_WIDTH=1|"
        "1 LAYER_2 ZOOM_FACTOR=1.0002;MAP TILE_WIDTH=8192;MAP TILE_HEIGHT=8192|"
        "1 LAYER_2 ZOOM_FACTOR=256;LAYER_3 ZOOM_FACTOR=256|3 MAP UPDATE_TIME=yesterday|"
        "3 MAP UPDATE_TIME=2024-13-01|3 MAP UPDATE_TIME=2024-02-30|3 MAP UPDATE_TIME=2024|"
        "3 MAP UPDATE_TIME=2024-05-06 07:08|3 MAP UPDATE_TIME=2024-05-06 25:00:00|"
        "3 MAP UPDATE_TIME=2024-05-06 07:08:09 x|3 MAP UPDATE_TIME=99999-1-1|0 MAP NAME=" +
        std::string(256, 'n'));
    std::size_t layers = 0;
    for (std::string keys; cases >> layers && std::getline(cases.ignore(), keys, '|');) {
        const MapReading reading = Read(keys);
        ASSERT_EQ(1U, reading.problems.size()) << keys;
        const MapProblem& problem = reading.problems[0];
        EXPECT_EQ(keys.substr(0, keys.find('=')),
                  (problem.section + " " + problem.key).GetString());
        EXPECT_FALSE(problem.reason.IsEmpty()) << keys;
        ASSERT_EQ(layers == 0, reading.map == nullptr) << keys;
        if (reading.map != nullptr) {
            EXPECT_EQ(layers, reading.map->layers.size()) << keys;
            EXPECT_EQ(static_cast<int>(layers), reading.map->info.nLayerCount) << keys;
            EXPECT_EQ(2001, reading.map->info.stUpdateTime.wYear) << keys;
        }
    }
}

}  // namespace

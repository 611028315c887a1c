#include "terrascope/tiles/TileLoadPolicy.h"

#include <gtest/gtest.h>

#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace Terrascope {
namespace {

TEST(TileLoadPolicy, HasItsDefaultWhereASettingIsAbsentOrCannotBeUsed) {
    const struct {
        const char* text;
        TileLoadPolicy expected;
        int logged;  ///< lines about values that cannot be used
    } cases[] = {
        {"", {}, 0},
        {"[OTHER]\r\nFAST=1\r\nTHREADS=4\r\nCACHE_MB=8\r\n", {}, 0},
        {"[TILE_LOAD]\r\nFAST=\r\nTHREADS=\r\nCACHE_MB=\r\n", {}, 0},
        {"[TILE_LOAD]\r\nFAST=1\r\n", {true, 2, 0}, 0},
        {"[TILE_LOAD]\r\nFAST=0\r\nTHREADS=1\r\nCACHE_MB=0\r\nCODECS=0\r\n", {false, 1, 0}, 0},
        {"[TILE_LOAD]\r\nFAST = 1\r\nTHREADS = 16\r\nCACHE_MB = 4096\r\nCODECS = 1\r\n",
         {true, 16, std::size_t{4096} << 20, true},
         0},
        {"[TILE_LOAD]\r\nFAST=2\r\nTHREADS=17\r\nCACHE_MB=4097\r\nCODECS=2\r\n", {}, 4},
        {"[TILE_LOAD]\r\nFAST=-1\r\nTHREADS=0\r\nCACHE_MB=-1\r\n", {}, 3},
        {"[TILE_LOAD]\r\nFAST=yes\r\nTHREADS=4 or 5\r\nCACHE_MB=1.5\r\n", {}, 3},
        {"[TILE_LOAD]\r\nFAST=1\r\nTHREADS=4294967298\r\nCACHE_MB=3\r\n", {true, 2, 3U << 20}, 1},
    };
    const TerrascopeTest::TemporaryFolder folder;
    EXPECT_FALSE(ReadTileLoadPolicy((folder / "absent.ini").c_str()).fast);
    for (const auto& settings : cases) {
        const TerrascopeTest::LogCapture log;
        const auto policy =
            ReadTileLoadPolicy(folder.WriteFile("Terrascope.ini", settings.text).c_str());
        EXPECT_EQ(settings.expected.fast, policy.fast) << settings.text;
        EXPECT_EQ(settings.expected.threads, policy.threads) << settings.text;
        EXPECT_EQ(settings.expected.cacheBytes, policy.cacheBytes) << settings.text;
        EXPECT_EQ(settings.expected.codecs, policy.codecs) << settings.text;
        EXPECT_EQ(settings.logged, log.Count("is no whole number from")) << log.Text();
    }
}

}  // namespace
}  // namespace Terrascope

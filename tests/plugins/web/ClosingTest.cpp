// A display over the real plug-in, in front of a server that never answers.
#include <gtest/gtest.h>

#include "tests/display/DisplayFixture.h"
#include "tests/plugins/web/FaultServer.h"

namespace TerrascopeTest {
namespace {

class Closing : public testing::Test {
protected:
    Closing() {
        m_server.On("/0", Reply{.kind = Reply::Silent});
        m_server.On("/1", Reply{.body = "x", .kind = Reply::Endless});
        m_library.AddPlugin("WebTileMapInfoProvider.dll");
        m_library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
        m_library.LoadPlugins();
    }

    /// How long the end of a display takes that loads two tiles of the map, in milliseconds.
    ULONGLONG TimeToClose() {
        auto display = std::make_unique<Terrascope::CTerrascope2>(CSize(628, 628), nullptr, 1.0);
        EXPECT_EQ(TRUE, display->OpenMap("slow"));
        EXPECT_EQ(TRUE, display->SetLayer(1));
        display->SetCenter({0, 0});
        EXPECT_TRUE(Await([&] { return m_server.Requests() >= 2; }));
        const ULONGLONG start = ::GetTickCount64();
        display.reset();
        return ::GetTickCount64() - start;
    }

    FaultServer m_server;
    LibraryFolder m_library;
};

constexpr ULONGLONG kQuick = 300;

TEST_F(Closing, ADisplayDoesNotWaitForAServer) {
    m_library.WriteSettings(
        "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=WebTileMapInfoProvider\n"
        "[WebTileMapInfoProvider]\nDATA_PATH=" +
        m_server.Address("/{q}#name=slow") + "\n");
    EXPECT_GT(kQuick, TimeToClose());
}

TEST_F(Closing, NorDoesALocalProviderWhoseRemoteOneWaits) {
    m_library.Folder().WriteFile("maps\\slow\\map.ini",
                                 "[MAP]\nLAYER_COUNT=1\nLONGITUDE_START=-180\nLATITUDE_START=-180\n"
                                 "LONGITUDE=360\nLATITUDE=360\n[LAYER_1]\nTILE_COUNT_X=2\n"
                                 "TILE_COUNT_Y=2\n");
    m_library.WriteSettings(
        "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=SplittedFileTileMapInfoProvider\n"
        "REMOTE=WebTileMapInfoProvider\n[SplittedFileTileMapInfoProvider]\nDATA_PATH=maps\n"
        "[WebTileMapInfoProvider]\nDATA_PATH=" +
        m_server.Address("/{q}#name=slow") + "\n");
    EXPECT_GT(kQuick, TimeToClose());
}

}  // namespace
}  // namespace TerrascopeTest

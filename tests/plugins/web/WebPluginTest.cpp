// The real plug-in, as the library and other modules meet it.
#include <gtest/gtest.h>

#include "tests/display/DisplayFixture.h"
#include "tests/plugins/web/FaultServer.h"

namespace TerrascopeTest {
namespace {

class WebPlugin : public testing::Test {
protected:
    WebPlugin() {
        m_server.On("/0", Reply{.kind = Reply::Silent});
        m_server.On("/1", Reply{.body = "x", .kind = Reply::Endless});
        m_library.AddPlugin("WebTileMapInfoProvider.dll");
        m_library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
        m_library.LoadPlugins();
    }

    /// The end of a display takes no time while it loads two tiles of the map.
    void ExpectQuickEnd(const std::string& roles) {
        m_library.WriteSettings("[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\n" + roles +
                                "[SplittedFileTileMapInfoProvider]\nDATA_PATH=maps\n"
                                "[WebTileMapInfoProvider]\nDATA_PATH=" +
                                m_server.Address("/{q}#name=slow") + "\n");
        auto display = std::make_unique<Terrascope::CTerrascope2>(CSize(628, 628), nullptr, 1.0);
        EXPECT_EQ(TRUE, display->OpenMap("slow"));
        EXPECT_EQ(TRUE, display->SetLayer(1));
        display->SetCenter({0, 0});
        EXPECT_TRUE(Await([&] { return m_server.Requests() >= 2; }));
        const ULONGLONG start = ::GetTickCount64();
        display.reset();
        EXPECT_GT(300U, ::GetTickCount64() - start);
    }

    FaultServer m_server;
    LibraryFolder m_library;
};

TEST_F(WebPlugin, ADisplayDoesNotWaitForAServer) {
    ExpectQuickEnd("LOCAL=WebTileMapInfoProvider\n");
}

TEST_F(WebPlugin, NorDoesALocalProviderWhoseRemoteOneWaits) {
    m_library.Folder().WriteFile("maps\\slow\\map.ini",
                                 "[MAP]\nLAYER_COUNT=1\nLONGITUDE_START=-180\nLATITUDE_START=-180\n"
                                 "LONGITUDE=360\nLATITUDE=360\n[LAYER_1]\nTILE_COUNT_X=2\n"
                                 "TILE_COUNT_Y=2\n");
    ExpectQuickEnd("LOCAL=SplittedFileTileMapInfoProvider\nREMOTE=WebTileMapInfoProvider\n");
}

TEST_F(WebPlugin, ALocalProviderKeepsWhatItDelivers) {
    auto server = std::make_unique<FaultServer>();
    server->On("/m.json", Reply{.body = R"({"tilejson": "3.0.0", "name": "m", "maxzoom": 2,
        "tiles": [")" + server->Address("/{z}/{x}/{y}") +
                                        R"("]})"});
    server->On("/1/0/0", {Reply{.body = "\xFF\xD8\xFF\xE0 a JPEG",
                                .headers = "ETag: \"e\"\r\nCache-Control: max-age=0\r\n"},
                          Reply{.status = 304, .headers = "Cache-Control: max-age=3600\r\n"}});
    m_library.Folder().MakeFolder("maps");
    m_library.WriteSettings(
        "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=SplittedFileTileMapInfoProvider\n"
        "REMOTE=WebTileMapInfoProvider\n[SplittedFileTileMapInfoProvider]\nDATA_PATH=maps\n"
        "[WebTileMapInfoProvider]\nDATA_PATH=" +
        server->Address("/m.json") + "\n");
    // How many maps there are, and the bytes of a tile: anew, as each display has it.
    std::unique_ptr<Terrascope::CTileMapInfoProviderWrapper> provider;
    const auto lookAgain = [&] {
        std::string text;
        for (Terrascope::tagTILE_MAP_INFO* map : provider->GetMapList()) {
            text += map->strName + " ";
            delete map;
        }
        for (Terrascope::tagTILE_IMAGE* tile : provider->LoadTiles("m", 1, {"0"})) {
            text += std::to_string(tile->stream.GetLength());
            delete tile;
        }
        return text;
    };
    const auto look = [&] {
        provider = std::make_unique<Terrascope::CTileMapInfoProviderWrapper>();
        EXPECT_TRUE(provider->SelectProvider());
        return lookAgain();
    };
    EXPECT_EQ("m 11", look());
    EXPECT_EQ("m 11", look()) << "expired, and shown";
    EXPECT_TRUE(Await([&] { return server->Requests("/1/0/0") == 2; })) << "asked again";
    EXPECT_NE(std::string::npos, server->LastHead().find("If-None-Match: \"e\""));
    // Each look would ask again until the answer is here.
    int asked = 2;
    int looksWithoutAsking = 0;
    EXPECT_TRUE(Await([&] {
        EXPECT_EQ("m 11", lookAgain());
        const int former = std::exchange(asked, server->Requests("/1/0/0"));
        looksWithoutAsking = asked == former ? looksWithoutAsking + 1 : 0;
        return looksWithoutAsking == 50;
    }));
    provider.reset();
    EXPECT_EQ("m 11", look());
    EXPECT_TRUE(provider->UpdateMapLib(true));
    EXPECT_EQ("m 11", look());
    EXPECT_EQ(asked, server->Requests("/1/0/0")) << "fresh since it was asked for again";
    server.reset();
    const ULONGLONG start = ::GetTickCount64();
    EXPECT_EQ("m 11", look());
    EXPECT_GT(2000U, ::GetTickCount64() - start) << "nothing waits for the server";
    EXPECT_FALSE(provider->UpdateMapLib(true));
    EXPECT_EQ("m 11", look());
    provider.reset();
}

/// How long messages to this thread, one every 10 ms, wait at most while it does something, in
/// milliseconds.
ULONGLONG LongestWaitDuring(const std::function<void(const std::function<void()>& pump)>& work) {
    const HANDLE ended = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const DWORD self = ::GetCurrentThreadId();
    std::thread poster([=] {
        while (::WaitForSingleObject(ended, 10) == WAIT_TIMEOUT) {
            ::PostThreadMessageA(self, WM_APP, 0, static_cast<LPARAM>(::GetTickCount64()));
        }
    });
    ULONGLONG longest = 0;
    const auto pump = [&] {
        MSG message;
        while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.hwnd == nullptr && message.message == WM_APP) {
                const ULONGLONG posted = static_cast<ULONGLONG>(message.lParam);
                longest = std::max(longest, ::GetTickCount64() - posted);
            }
            ::DispatchMessageA(&message);
        }
    };
    work(pump);
    pump();
    ::SetEvent(ended);
    poster.join();
    pump();
    ::CloseHandle(ended);
    return longest;
}

// A machine at work may hold a thread up by itself, but not three times in a row.
TEST_F(WebPlugin, TheUserInterfaceDoesNotWaitForAServerWhoseMapIsKept) {
    m_server.On("/m.json", Reply{.body = R"({"tilejson": "3.0.0", "name": "m", "maxzoom": 2,
        "tiles": [")" + m_server.Address("/{z}/{x}/{y}") +
                                         R"("]})"});
    m_server.On("/1/0/0", Reply{.body = "\xFF\xD8\xFF\xE0 a JPEG", .headers = "Age: 9999999\r\n"});
    m_library.Folder().MakeFolder("maps");
    const auto useRemote = [&](const std::string& path) {
        m_library.WriteSettings(
            "[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\nLOCAL=SplittedFileTileMapInfoProvider\n"
            "REMOTE=WebTileMapInfoProvider\n[SplittedFileTileMapInfoProvider]\nDATA_PATH=maps\n"
            "[TILE_LOAD]\nFAST=1\n[WebTileMapInfoProvider]\nDATA_PATH=" +
            m_server.Address(path) + "\n");
    };
    const auto look = [&](const std::function<void()>& pump) {
        std::unique_ptr<Terrascope::CTerrascope2> display;
        CDC screen;
        screen.CreateCompatibleDC(nullptr);
        const auto open = [&](int layer) {
            return display->OpenMap("m") && display->SetLayer(static_cast<UINT>(layer));
        };
        const std::function<void()> steps[] = {
            [&] {
                display = std::make_unique<Terrascope::CTerrascope2>(CSize(628, 628), nullptr, 1.0);
            },
            [&] { EXPECT_TRUE(open(1)); },
            [&] { display->Draw(&screen); },
            [&] { EXPECT_TRUE(display->SetLayer(2)); },
            [&] {
                display->SetCenter({10, 10});
            },
        };
        for (const auto& step : steps) {
            step();
            pump();
        }
        // Other tiles may all have been asked for before one comes here to wait for them.
        EXPECT_TRUE(Await([&] {
            pump();
            return m_server.Requests("/2/1/1") > 0;
        }));
        display.reset();
    };
    useRemote("/m.json");
    look([] {});
    m_server.On("/m.json", Reply{.kind = Reply::Silent});
    for (const char* tile : {"/1/0/0", "/2/0/0", "/2/1/1", "/2/2/2", "/2/1/2", "/2/2/1"}) {
        m_server.On(tile, Reply{.kind = Reply::Silent});
    }
    ULONGLONG longest = 1000;
    for (int attempt = 0; attempt < 3 && longest > 50; ++attempt) {
        // The process forgets what it knows of the data path: it remembers the last sixteen.
        for (int other = 0; other < 16; ++other) {
            useRemote("/{q}?" + std::to_string(other));
            EXPECT_TRUE(Terrascope::CTileMapInfoProviderWrapper().SelectProvider());
        }
        useRemote("/m.json");
        const int asked = m_server.Requests("/m.json");
        longest = LongestWaitDuring(look);
        EXPECT_LT(asked, m_server.Requests("/m.json")) << "it was forgotten";
    }
    EXPECT_GE(50U, longest);
}

}  // namespace
}  // namespace TerrascopeTest

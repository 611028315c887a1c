// What the settings of loading change: threads, what is fetched and in which order, merged repaint
// messages, and the cache.
#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "tests/display/DisplayFixture.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

class FastLoading : public Display {
protected:
    static constexpr ULONGLONG kQuiet = 150;  // there is no pace

    FastLoading() { Load("FAST=1\r\nTHREADS=4\r\nCACHE_MB=64\r\n"); }

    /// Settings of displays made from now on.
    void Load(const std::string& lines, const char* provider = "ScriptedProvider") {
        library.WriteSettings("[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=" +
                              std::string(provider) + "\r\n[TILE_LOAD]\r\n" + lines);
    }

    TileRange Tiles(double factor) const {
        const Viewport view = display->View();
        return TileRangeOf(view, RegionAround(view, factor));
    }
    static std::size_t Count(const TileRange& range) {
        return static_cast<std::size_t>(range.columnCount * range.rowCount);
    }
    static bool Contains(const TileRange& range, const std::string& key) {
        TileIndex index;
        return DecodeTileKey(key.c_str(), index) && range.Contains(index.column, index.row);
    }
};

struct Loading {
    const char* lines;
    int threads;
    double factor;  ///< of the region that is fetched
};

const Loading kLoadings[] = {
    {"", 2, kVisibleRegionFactor},
    {"THREADS=5\r\n", 5, kVisibleRegionFactor},
    {"FAST=1\r\n", 2, kLoadRegionFactor},
    {"FAST=1\r\nTHREADS=5\r\n", 5, kLoadRegionFactor},
};

TEST_F(FastLoading, EachSettingChangesWhatItNamesAndTheViewComesFirst) {
    for (const auto& [lines, threads, factor] : kLoadings) {
        display.reset();
        script->Reset();
        script->Hold();
        Load(lines);
        Open(5);
        EXPECT_TRUE(script->AwaitHeld(threads, 10000)) << lines;
        EXPECT_FALSE(script->AwaitHeld(threads + 1, 100)) << lines;
        script->Release();
        AwaitPicture();
        const auto requests = script->Requests();
        EXPECT_EQ(Count(Tiles(factor)), requests.size()) << lines;
        const TileRange visible = Tiles(kVisibleRegionFactor);
        for (std::size_t i = 0; i < requests.size(); ++i) {
            EXPECT_EQ(i < Count(visible), Contains(visible, requests[i])) << lines << i;
        }
    }
}

TEST_F(FastLoading, FetchesNothingMoreOfAPlaceThatTheViewHasLeft) {
    script->Hold();
    Open(5);
    ASSERT_TRUE(script->AwaitHeld(4, 10000));
    display->SetCenter({-50, 0});
    display->SetCenter({230, 0});
    script->Release();
    AwaitPicture(kQuiet);
    const TileRange region = Tiles(kLoadRegionFactor);
    const auto requests = script->Requests();
    EXPECT_EQ(4, std::count_if(requests.begin(), requests.end(),
                               [&](const std::string& key) { return !Contains(region, key); }));
    EXPECT_EQ(4 + Count(region), requests.size());
}

TEST_F(FastLoading, ShowsAtOnceWhatAnotherDisplayHadShownAndNothingThatIsOutOfDate) {
    ScriptedMap otherDay = WorldMap();
    otherDay.updateDay = 2;
    ScriptedMap otherName = WorldMap();
    otherName.name = "another";
    ScriptedMap otherSize = WorldMap();
    otherSize.tileWidth = 63;
    const auto nothing = [] {};
    const auto forget = [] { CPictureCache::ForgetAll(); };
    struct Reuse {
        const char* what;
        ScriptedMap map;                      ///< of the second display
        std::function<void()> before, after;  ///< before the second is made; when the first is gone
        bool asks;
    };
    const Reuse cases[] = {
        {"the same", WorldMap(), nothing, nothing, false},
        {"another update time", otherDay, nothing, nothing, true},
        {"another map", otherName, nothing, nothing, true},
        {"another size", otherSize, nothing, nothing, true},
        {"forgotten", WorldMap(), nothing, forget, true},
        {"forgotten before it was kept", WorldMap(), forget, nothing, true},
        {"no cache", WorldMap(), [&] { Load("FAST=1\r\n"); }, nothing, true},
        {"another provider", WorldMap(),
         [&] { Load("FAST=1\r\nCACHE_MB=64\r\n", "ScriptedRemoteProvider"); }, nothing, true},
    };
    for (const Reuse& reuse : cases) {
        display.reset();
        EXPECT_EQ(0, CLiveCount<CTilePicture>::Live()) << "the cache ends with the last display";
        Load("FAST=1\r\nCACHE_MB=64\r\n");
        Open(4);
        AwaitPicture(kQuiet);
        const auto shown = Paint();
        const auto former = script->Requests().size();
        std::unique_ptr<CTerrascope2> going = std::move(display);
        reuse.before();
        MakeDisplay();
        going.reset();
        reuse.after();
        Open(4, reuse.map);
        EXPECT_EQ(reuse.asks, Paint() != shown) << reuse.what;
        AwaitPicture(kQuiet);
        EXPECT_EQ(reuse.asks ? Count(Tiles(kLoadRegionFactor)) : 0,
                  script->Requests().size() - former)
            << reuse.what;
    }
}

// Only the visible tiles are painted anew; these had been visible.
TEST_F(FastLoading, APanMovesWhatItPutsOutOfView) {
    Load("THREADS=16\r\n");
    MakeDisplay({600, 300});
    Open(5);
    AwaitPicture();
    const auto before = Paint();
    const CPoint start(300, 150);
    for (const CSize way : {CSize(-140, -74), CSize(140, 74)}) {
        display->OnLButtonDown(0, start);
        display->OnMouseMove(0, start + way);
        display->OnLButtonUp(0, start + way);
        display->OnLButtonDown(0, start + way);
        display->OnMouseMove(0, start);
        EXPECT_TRUE(before == Paint()) << "while dragging back";
        display->OnLButtonUp(0, start);
    }
}

// Fetching, decoding, delivering, what lies ahead, and at rest.
TEST_F(FastLoading, EndsCleanlyAtEachStage) {
    Open(5);
    AwaitPicture(kQuiet);
    const std::size_t all = script->Requests().size();
    for (std::size_t asked = 0; asked <= all; ++asked) {
        display.reset();
        script->Reset();
        script->SetDelay(asked % 2);
        Open(5);
        ASSERT_TRUE(Await([&] { return script->Requests().size() >= asked; }));
        const ULONGLONG start = ::GetTickCount64();
        display.reset();
        ASSERT_GT(5000U, ::GetTickCount64() - start) << "a thread was not woken";
        ASSERT_EQ(0, CLiveCount<CTile2>::Live()) << asked;
        ASSERT_EQ(0, CLiveCount<CTilePicture>::Live()) << asked;
        ASSERT_EQ(0, CLiveCount<CThread>::Live()) << asked;
    }
}

TEST(MergedRepaints, CoverEachChangeAfterItWasMade) {
    constexpr int kSize = 64;
    constexpr int kPosts = 3000;
    HostWindow window;
    CHostWindow host(&window, true);
    std::vector<std::atomic<bool>> stale(kSize * kSize);
    const auto forEach = [&](const CRect& rect, const auto& work) {
        for (int y = rect.top; y < rect.bottom; ++y) {
            for (int x = rect.left; x < rect.right; ++x) {
                work(stale[static_cast<std::size_t>(y * kSize + x)]);
            }
        }
    };
    std::atomic<bool> done{false};
    std::thread loading([&] {
        std::mt19937 random(7);
        for (int i = 0; i < kPosts; ++i) {
            const CPoint corner(static_cast<int>(random() % 60), static_cast<int>(random() % 60));
            const CRect rect(corner, CSize(4, 4));
            forEach(rect, [](auto& pixel) { pixel = true; });
            host.PostRepaint(rect);
        }
        done = true;
    });
    std::size_t messages = 0;
    const auto paint = [&] {
        Pump();
        for (const CRect& rect : std::exchange(window.repaints, {})) {
            forEach(rect, [](auto& pixel) { pixel = false; });
            host.OnPainted();
            ++messages;
        }
        return std::none_of(stale.begin(), stale.end(), [](auto& pixel) { return pixel.load(); });
    };
    while (!done) {
        paint();
    }
    loading.join();
    EXPECT_TRUE(Await(paint)) << "a change was never painted";
    EXPECT_GT(kPosts / 2U, messages);
}

TEST(MergedRepaints, GoOutAtOnceWhenTheHostHasPaintedElseByThemselves) {
    HostWindow window;
    for (const bool paints : {true, false}) {
        CHostWindow host(&window, true);
        for (const CRect& rect : {CRect(0, 0, 1, 1), CRect(2, 3, 4, 5), CRect(8, 9, 9, 10)}) {
            host.PostRepaint(rect);
        }
        if (paints) {
            host.OnPainted();
            Pump();
        } else {
            EXPECT_TRUE(Await([&] { return window.repaints.size() >= 2; }));
        }
        EXPECT_EQ((std::vector<CRect>{CRect(0, 0, 1, 1), CRect(2, 3, 9, 10)}), window.repaints);
        window.repaints.clear();
    }
}

}  // namespace
}  // namespace TerrascopeTest

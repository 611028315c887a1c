// What the settings of loading change: threads, what is fetched and in which order, merged repaint
// messages, and the cache.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <thread>
#include <tuple>

#include "tests/display/DisplayFixture.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

class FastLoading : public Display {
protected:
    static constexpr ULONGLONG kQuiet = 150;  // there is no pace

    FastLoading() { Load("FAST=1\r\nTHREADS=4\r\nCACHE_MB=64\r\n"); }

    /// A zoom to the next finer layer, of which the host paints all; `during` comes before that.
    void ZoomIn(const std::function<void()>& during) {
        ASSERT_EQ(1, display->ZoomAt(display->Center(), MapToolKind::ZoomIn));
        during();
        EXPECT_TRUE(Await([&] {
            Paint();
            return !display->IsSwitchingLayer();
        }));
        Paint();
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

TEST_F(FastLoading, EachSettingChangesWhatItNamesAndTheViewComesFirst) {
    const std::tuple<const char*, int, double> loadings[] = {
        // the factor of what is fetched
        {"", 2, kVisibleRegionFactor},
        {"THREADS=5\r\n", 5, kVisibleRegionFactor},
        {"FAST=1\r\n", 2, kLoadRegionFactor},
        {"FAST=1\r\nTHREADS=5\r\n", 5, kLoadRegionFactor}};
    for (const auto& [lines, threads, factor] : loadings) {
        display.reset();
        script->Reset();
        script->Hold();
        Load(lines);
        Open(5);
        EXPECT_TRUE(script->AwaitHeld(threads, 10000)) << lines;
        EXPECT_FALSE(script->AwaitHeld(threads + 1, 100)) << lines;
        script->Release();
        AwaitPicture();
        display->RefreshTiles();
        display->SetCenter(display->Center());
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

// The first paint after a switch shows the tiles that were asked for at its beginning.
TEST_F(FastLoading, ALayerSwitchLeavesTheOrderOfTheTiles) {
    for (const char* lines : {"THREADS=1\r\n", "FAST=1\r\nTHREADS=1\r\n"}) {
        std::vector<std::string> orders[2];
        for (const bool switches : {false, true}) {
            display.reset();
            script->Reset();
            script->Hold();
            Load(lines);
            Open(switches ? 3 : 4);
            ASSERT_TRUE(script->AwaitHeld(1, 10000));
            if (switches) {
                ZoomIn([] {});
            }
            script->Release();
            AwaitPicture();
            orders[switches] = script->Requests();
        }
        orders[true].erase(orders[true].begin());  // of the former layer
        EXPECT_EQ(orders[false], orders[true]) << lines;
    }
}

TEST_F(FastLoading, ADragShowsWhatWasFetchedBeyondTheViewHoweverItCame) {
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"during a switch", [&] { ZoomIn([&] { AwaitPicture(kQuiet); }); }},
        {"before the bitmap",
         [&] {
             Use(MapToolKind::Arrow);
             display->SetCenter(display->Center());
             Use(MapToolKind::Pan);
         }},
        {"from the cache",
         [&] {
             display->SetCenter({200, 0});
             AwaitPicture(kQuiet);
             display->SetCenter({90, 0});
         }},
    };
    Open(4);
    AwaitPicture(kQuiet);
    for (const auto& [way, come] : ways) {
        come();
        display->OnLButtonDown(0, {100, 60});
        for (const CPoint to : {CPoint(145, 85), CPoint(55, 35)}) {
            display->OnMouseMove(0, to);
            const auto dragged = Paint();
            for (const std::uint32_t ground : {kWaitingGrey, 0x808080U, Rgb(Screen::kBackground)}) {
                EXPECT_EQ(0, std::count(dragged.begin(), dragged.end(), ground)) << way;
            }
        }
        display->OnLButtonUp(0, {100, 60});
    }
}

TEST_F(FastLoading, ATileAsksForEachPixelThatItChangesAndForNoneOutOfView) {
    ScriptedMap map = WorldMap();
    map.zoomFactor = 0.85;  // 54.4 pixels: the sixteenth tile is painted 6 beyond its region
    script->Hold();
    Open(5, map);
    const auto image = MakeBitmapFile(54, 54, [](int, int) { return RGB(1, 2, 3); });
    const TileRange range = Tiles(kLoadRegionFactor);
    for (int at = 0; at < range.columnCount * range.rowCount; ++at) {
        auto record = std::make_unique<tagTILE_IMAGE>();
        record->nColumn = static_cast<std::uint32_t>(range.firstColumn + at % range.columnCount);
        record->nRow = static_cast<std::uint32_t>(range.firstRow + at / range.columnCount);
        record->strKey = MakeTileKey(record->nColumn, record->nRow, 5);
        record->stream.Write(image.data(), static_cast<UINT>(image.size()));
        auto unasked = Paint();
        Pump();
        window->repaints.clear();
        display->OnTileLoaded(record.release());
        const auto after = Paint();
        const auto isAsked = [&] {
            Pump();
            for (const CRect& rect : std::exchange(window->repaints, {})) {
                EXPECT_TRUE(rect.left >= 0 && rect.top >= 0 && rect.right <= 200 &&
                            rect.bottom <= 120);
                for (int y = rect.top; y < rect.bottom; ++y) {
                    std::copy(after.begin() + y * 200 + rect.left,
                              after.begin() + y * 200 + rect.right,
                              unasked.begin() + y * 200 + rect.left);
                }
            }
            return after == unasked;
        };
        ASSERT_TRUE(Await(isAsked)) << at;
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
    constexpr int kPosts = 3000;
    HostWindow window;
    CHostWindow host(&window, true);
    std::vector<std::atomic<int>> changed(64);
    std::vector<int> painted(changed.size());
    std::atomic<int> posts{0};
    std::thread loading([&] {
        std::mt19937 random(7);
        while (posts < kPosts) {
            const auto column = random() % changed.size();
            ++changed[column];
            host.PostRepaint(CRect(CPoint(static_cast<int>(column), 0), CSize(1, 1)));
            ++posts;
        }
    });
    int messages = 0;
    const auto paint = [&] {
        Pump();
        for (const CRect& rect : std::exchange(window.repaints, {})) {
            std::copy(changed.begin() + rect.left, changed.begin() + rect.right,
                      painted.begin() + rect.left);
            host.OnPainted();
            ++messages;
        }
        return std::equal(painted.begin(), painted.end(), changed.begin());
    };
    while (posts < kPosts) {
        paint();
    }
    loading.join();
    EXPECT_TRUE(Await(paint)) << "a change was never painted";
    EXPECT_GT(kPosts / 2, messages);
}

TEST(MergedRepaints, GoOutAtOnceWhenSomebodyWaitsAndTheHostHasPaintedElseByThemselves) {
    HostWindow window;
    const std::function<void(CHostWindow&)> waysToGo[] = {
        [](CHostWindow& host) {
            host.Hurry();
            host.OnPainted();
        },
        [](CHostWindow& host) {
            host.OnPainted();
            host.Hurry();
        },
        [&](CHostWindow&) { EXPECT_TRUE(Await([&] { return window.repaints.size() >= 2; })); },
    };
    for (const auto& go : waysToGo) {
        CHostWindow host(&window, true);
        for (const CRect& rect : {CRect(0, 0, 1, 1), CRect(2, 3, 4, 5), CRect(8, 9, 9, 10)}) {
            host.PostRepaint(rect);
        }
        go(host);
        Pump();
        EXPECT_EQ((std::vector<CRect>{CRect(0, 0, 1, 1), CRect(2, 3, 9, 10)}), window.repaints);
        window.repaints.clear();
    }
}

}  // namespace
}  // namespace TerrascopeTest

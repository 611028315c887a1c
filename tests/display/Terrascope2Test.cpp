// The display's slots, its tiles, and what survives of it when things go away.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "terrascope/display/DeviceUnits.h"
#include "tests/display/DisplayFixture.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

class Terrascope2 : public Display {};

TEST_F(Terrascope2, HasNoMapUntilOneIsOpenedAndKeepsItWhenAnotherOrALayerIsRefused) {
    MakeDisplay();
    EXPECT_EQ(std::make_pair(0, -1), display->GetLayerRange());
    EXPECT_EQ(-1, display->GetLayer());
    EXPECT_EQ(FALSE, display->OpenMap("nowhere"));
    EXPECT_EQ(FALSE, display->SetLayer(1));
    display->RefreshTiles();
    display->SetCenter({1, 2});
    EXPECT_EQ(Rgb(Screen::kBackground), PaintedAt(100, 60));

    Open(3);
    EXPECT_EQ(FALSE, display->OpenMap("nowhere"));
    EXPECT_EQ(FALSE, display->SetLayer(6));
    EXPECT_EQ(std::make_pair(1, 5), display->GetLayerRange());
    EXPECT_EQ(CString("world"), display->GetMapName());
    EXPECT_EQ(3, display->GetLayer());
}

// A host relies on the middle that SetLayer takes: its y counts from the map's left edge.
TEST_F(Terrascope2, SetLayerCentresOnTheLeftEdgePlusHalfTheHeight) {
    ScriptedMap map = WorldMap();
    map.left = 10;
    map.bottom = 0;
    Open(4, map);
    EXPECT_EQ(CPointF(10 + 180, 10 + 90), display->Center());
}

TEST_F(Terrascope2, KnowsWhatLiesOffTheMapOrOffTheView) {
    Open(1);  // 128 x 64 pixels in the middle of 200 x 120: from (36, 28)
    for (const CPoint inside : {CPoint(37, 29), {163, 91}}) {
        EXPECT_FALSE(display->IsPointOutside(inside));
    }
    for (const CPoint outside : {CPoint(35, 60), {100, 93}}) {
        EXPECT_TRUE(display->IsPointOutside(outside));
    }
    Open(5);
    EXPECT_FALSE(display->IsPointOutside({199, 119}));
    EXPECT_TRUE(display->IsPointOutside({200, 10}) && display->IsPointOutside({10, -1}));
}

TEST_F(Terrascope2, PostsTheRectangleOfATileThatArrived) {
    Show(1);
    // The whole view when it was rendered, then each tile with its margin.
    ASSERT_EQ(3U, window->repaints.size());
    EXPECT_EQ(CRect(0, 0, 200, 120), window->repaints[0]);
    std::sort(window->repaints.begin() + 1, window->repaints.end(),
              [](const CRect& a, const CRect& b) { return a.left < b.left; });
    EXPECT_EQ(CRect(33, 25, 103, 95), window->repaints[1]);
    EXPECT_EQ(CRect(97, 25, 167, 95), window->repaints[2]);
}

TEST_F(Terrascope2, KeepsItsPlaceholderWhereNoImageOrNoGoodOneComes) {
    using enum TileAnswer;
    for (const TileAnswer answer : {Nothing, Junk, EmptyStream, NullRecord, WrongKey, Throw}) {
        script->SetTileAnswer(answer);
        display.reset();
        Show(2);
        EXPECT_EQ(kWaitingGrey, PaintedAt(100, 60)) << static_cast<int>(answer);
    }
}

TEST_F(Terrascope2, ShowsNoTileOfTheFormerMapInAnother) {
    ScriptedMap other = WorldMap();
    other.name = "other";
    MakeDisplay();
    script->SetMaps({WorldMap(), other});
    const auto open = [this](const char* name) {
        return display->OpenMap(name) && display->SetLayer(3);
    };
    ASSERT_TRUE(open("world"));
    AwaitPicture();
    script->Hold();
    ASSERT_TRUE(open("world"));
    ASSERT_TRUE(script->AwaitHeld(2, 10000));

    // Same layer, same keys: what is there, pending or on its way belongs to the former map.
    script->SetTileAnswer(TileAnswer::Nothing);
    ASSERT_TRUE(open("other"));
    script->Release();
    AwaitPicture();
    EXPECT_EQ(kWaitingGrey, PaintedAt(100, 60));
    EXPECT_EQ(kWaitingGrey, PaintedAt(10, 10));
}

TEST_F(Terrascope2, IsSilentWhileAButtonIsDownAndPostsWhatItWithheld) {
    for (const MapToolKind tool : {MapToolKind::Pan, MapToolKind::Arrow, MapToolKind::ZoomIn}) {
        display.reset();
        script->Hold();
        Open(5);
        Use(tool);
        ASSERT_TRUE(script->AwaitHeld(2, 10000));
        display->OnLButtonDown(0, {100, 60});
        Pump();
        const auto before = window->repaints.size();
        script->Release();
        AwaitPicture();
        EXPECT_EQ(before, window->repaints.size());
        display->OnLButtonUp(0, {100, 60});
        Pump();
        ASSERT_EQ(before + 1, window->repaints.size()) << static_cast<int>(tool);
        CRect repainted;
        repainted.IntersectRect(window->repaints.back(), CRect(0, 0, 200, 120));
        EXPECT_EQ(CRect(0, 0, 200, 120), repainted);
        EXPECT_EQ(FromColour(TileColour(5, 16, 8)), PaintedAt(100, 60));
    }
}

TEST_F(Terrascope2, PostsToTheWindowThatItsHostHasNowAndWorksWithoutOne) {
    Show(4);
    window->DestroyWindow();
    display->RefreshTiles();
    Pump();
    window->repaints.clear();
    window->Make();
    display->RefreshTiles();
    Pump();
    EXPECT_EQ(1U, window->repaints.size());
    window.reset();
    for (const int layer : {5, 3}) {  // once after the window has gone, once for no window
        Show(layer);
        EXPECT_EQ(FromColour(TileColour(layer, 1U << (layer - 1), 1U << (layer - 2))),
                  PaintedAt(100, 60));
        display.reset();
    }
}

TEST_F(Terrascope2, OneOfTwoOnAWindowGoesWhileTheOtherLoads) {
    Load("FAST=1\r\n");
    script->Hold();
    Open(3);
    std::unique_ptr<CTerrascope2> going = std::move(display);
    Open(4);
    ASSERT_TRUE(script->AwaitHeld(4, 10000));
    script->Release();
    going.reset();
    AwaitPicture();
    EXPECT_EQ(FromColour(TileColour(4, 8, 4)), PaintedAt(110, 70));
    EXPECT_EQ(FromColour(TileColour(4, 7, 3)), PaintedAt(90, 50));
    EXPECT_FALSE(window->repaints.empty());
}

TEST_F(Terrascope2, SurvivesMapsWithImpossibleNumbers) {
    const std::function<void(ScriptedMap&)> twists[] = {
        [](ScriptedMap& map) { map.layerCount = INT_MAX, map.firstLayer = INT_MIN; },
        [](ScriptedMap& map) { map.columns = map.rows = 0; },
        [](ScriptedMap& map) { map.columns = map.rows = -5; },
        [](ScriptedMap& map) { map.columns = INT_MAX; },
        [](ScriptedMap& map) { map.tileWidth = map.tileHeight = INT_MAX; },
        [](ScriptedMap& map) { map.tileWidth = -64; },
        [](ScriptedMap& map) { map.tileWidth = map.tileHeight = 1, map.columns = 100000; },
        [](ScriptedMap& map) { map.zoomFactor = 0; },
        [](ScriptedMap& map) { map.zoomFactor = -1e300; },
        [](ScriptedMap& map) { map.width = std::nan(""); },
        [](ScriptedMap& map) { map.left = map.bottom = map.width = map.height = 1e308; },
        [](ScriptedMap& map) { map.width = map.height = 0; },
    };
    script->SetTileAnswer(TileAnswer::Nothing);
    for (const auto& twist : twists) {
        ScriptedMap map = WorldMap();
        twist(map);
        script->SetMaps({map});
        MakeDisplay();
        display->OpenMap(map.name.c_str());
        for (const int layer : {0, 1, 2, INT_MAX}) {
            display->SetLayer(static_cast<UINT>(layer));
        }
        display->GetLayerRange();
        Paint();
        Use(MapToolKind::ZoomIn);
        Click({10, 10});
        Paint();
        display.reset();
    }
}

}  // namespace
}  // namespace TerrascopeTest

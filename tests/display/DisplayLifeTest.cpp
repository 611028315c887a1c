// Displays beside each other, the ground where no tile is, and the switch at odd scales.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/display/DisplayFixture.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

class DisplayLife : public Display {
protected:
    DisplayLife() { Load("FAST=1\r\n"); }
};

TEST_F(DisplayLife, OneOfTwoOnAWindowGoesWhileTheOtherLoads) {
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

// Left and right of a narrow map, and between tiles that do not touch, nothing is painted; what a
// pan moves there must stay open, past the map's end too.
TEST_F(DisplayLife, APanOverOpenGroundShowsWhatAFreshRenderingShows) {
    ScriptedMap narrow = WorldMap();
    narrow.firstLayer = 4;  // its keys have place for 16 rows
    narrow.columns = 1;
    narrow.rows = 8;
    ScriptedMap gaps = WorldMap();
    gaps.zoomFactor = 0.7;
    const std::pair<ScriptedMap, int> cases[] = {{narrow, 4}, {gaps, 5}};
    for (const auto& [map, layer] : cases) {
        display.reset();
        Open(layer, map);
        AwaitPicture();
        for (const CSize shift : {CSize(0, 40), CSize(-60, 400), CSize(33, -900)}) {
            display->SetTool(static_cast<UINT>(MapToolKind::Pan));
            display->OnLButtonDown(0, {100, 60});
            display->OnMouseMove(0, CPoint(100, 60) + shift);
            const auto dragged = Paint();
            EXPECT_EQ(0, std::count(dragged.begin(), dragged.end(), 0U)) << "unpainted";
            display->OnLButtonUp(0, CPoint(100, 60) + shift);
            AwaitPicture();
            const auto panned = Paint();
            display->SetTool(static_cast<UINT>(MapToolKind::Arrow));
            display->RefreshTiles();
            const auto fresh = Paint();
            int wrong = 0;
            for (std::size_t i = 0; i < fresh.size(); ++i) {
                // A gap keeps the grey of new ground, or what a tile's rounded place left there.
                const bool gap = layer == 5 && fresh[i] == Rgb(Screen::kBackground);
                wrong += panned[i] == 0 || (fresh[i] != panned[i] && !gap) ? 1 : 0;
            }
            EXPECT_EQ(0, wrong) << layer << ": " << shift.cx << "," << shift.cy;
            EXPECT_GT(std::count(fresh.begin(), fresh.end(), Rgb(Screen::kBackground)), 0);
            EXPECT_EQ(0, std::count(fresh.begin(), fresh.end(), kWaitingGrey));
        }
    }
}

struct ScaledSwitch {
    SwitchMode mode;
    double scale;  ///< of the first layer; the next one's is 1
    int steps;
    CSize last;  ///< of a view of 200 x 120: what the last step shows of it
};

const ScaledSwitch kScaledSwitches[] = {
    {SwitchMode::ZoomIn, 0.55, 14, {55, 33}},    // to 2 / 0.55
    {SwitchMode::ZoomOut, 0.55, 8, {727, 436}},  // to 0.55 / 2
    {SwitchMode::ZoomIn, 1.9, 1, {190, 114}},    // to 2 / 1.9
    {SwitchMode::ZoomOut, 1.9, 1, {210, 126}},   // to 1.9 / 2
    {SwitchMode::ZoomOut, 2.0, 0, {200, 120}},   // to 1, as what no provider can mean
    {SwitchMode::ZoomIn, 0.0, 0, {200, 120}},   {SwitchMode::ZoomIn, 1e308, 0, {200, 120}},
};

struct NoTool : ILayerSwitchTool {
    bool Step() override { return false; }
};

TEST(ScaledLayerSwitch, GoesInEvenStepsToTheRatioOfTheLayers) {
    for (const auto& [mode, scale, steps, last] : kScaledSwitches) {
        const bool in = mode == SwitchMode::ZoomIn;
        NoTool tool;
        CLayerSwitch layerSwitch(tool, [] {});
        // A unit is a pixel; the new centre lies 30 to the right of the old one and 20 below it.
        FormerView former{CMapBitmap::Create({200, 120}, {0, 0}), {0, 120}, {100, 60}, {1, 1}};
        layerSwitch.Begin(mode, in ? 1.0 : scale, in ? scale : 1.0, std::move(former));
        CRect shown;
        const auto paint = [&](CMapBitmap&, const PaintMoment& moment) {
            shown = SourceRectangle(moment, {200, 120});
        };
        layerSwitch.Draw({130, 40}, paint);
        EXPECT_EQ(CRect(0, 0, 200, 120), shown);
        const double target = in ? 2 / scale : scale / 2;
        for (int i = 1; i <= steps; ++i) {
            layerSwitch.Step();
            ASSERT_TRUE(layerSwitch.Draw({130, 40}, paint));
            const double way = std::min(1.0, i * (in ? 0.2 : 0.1) / std::fabs(target - 1));
            const double width = 200 + way * (200 / target - 200);
            EXPECT_NEAR(width, shown.Width(), 1) << scale << " step " << i;
            EXPECT_NEAR(width * 0.6, shown.Height(), 1) << scale << " step " << i;
            EXPECT_NEAR(100 + way * 30, (shown.left + shown.right) / 2.0, 1.5) << i;
            EXPECT_NEAR(60 + way * 20, (shown.top + shown.bottom) / 2.0, 1.5) << i;
        }
        EXPECT_TRUE(layerSwitch.IsRunning());
        EXPECT_EQ(last, shown.Size()) << scale;
        layerSwitch.Step();
        EXPECT_FALSE(layerSwitch.IsRunning());
    }
}

}  // namespace
}  // namespace TerrascopeTest

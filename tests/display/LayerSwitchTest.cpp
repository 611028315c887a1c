// The animated switch to the next layer, and the zoom tools that start it.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <random>
#include <stdexcept>

#include "tests/display/DisplayFixture.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

class LayerSwitch : public Display {
protected:
    void Zoom(MapToolKind kind) {
        Use(kind);
        Click({100, 60});
    }
    int ZoomAt(CPointF point, MapToolKind kind) { return display->ZoomAt(point, kind); }

    /// Paints whenever the display asks for it until the switch has ended and it has asked at least
    /// so often: the last one may come just after the end. Returns how often it asked.
    int Animate(int least = 0) {
        int asked = 0;
        const auto paint = [&] {
            asked += static_cast<int>(window->repaints.size());
            if (!window->repaints.empty()) {
                Paint();
            }
            window->repaints.clear();
        };
        EXPECT_TRUE(Await([&] {
            paint();
            return !display->IsSwitchingLayer() && asked >= least;
        }));
        Pump();
        paint();
        return asked;
    }
};

TEST_F(LayerSwitch, TakesFiveStepsEachWayAndEndsInTheNextLayer) {
    // The new layer's rendering, five steps, and the end ask for a paint; no tile does.
    constexpr int kPaints = 1 + 5 + 1;
    script->SetTileAnswer(TileAnswer::Nothing);
    Show(3);
    window->repaints.clear();
    Zoom(MapToolKind::ZoomIn);
    EXPECT_TRUE(display->IsSwitchingLayer());
    EXPECT_EQ(4, display->GetLayer());
    EXPECT_EQ(kPaints, Animate(kPaints));

    Use(MapToolKind::ZoomOut);
    Await([&] { return ZoomAt(display->Center(), MapToolKind::ZoomOut) == 1; });
    EXPECT_EQ(kPaints, Animate(kPaints));
    EXPECT_EQ(3, display->GetLayer());
}

TEST_F(LayerSwitch, IsRefusedAtBothEndsOffTheMapAndWhileOneRuns) {
    Open(5);
    EXPECT_EQ(0, ZoomAt({0, 0}, MapToolKind::ZoomIn));
    EXPECT_EQ(5, display->GetLayer());
    Open(1);
    EXPECT_EQ(0, ZoomAt({0, 0}, MapToolKind::ZoomOut));
    EXPECT_EQ(1, display->GetLayer());

    Use(MapToolKind::ZoomIn);
    Click({190, 110});
    EXPECT_EQ(1, display->GetLayer()) << "the click was beside the map";
    EXPECT_EQ(1, ZoomAt({0, 0}, MapToolKind::Arrow)) << "no zoom tool, nothing to refuse";
    EXPECT_FALSE(display->IsSwitchingLayer());

    Open(3);
    EXPECT_EQ(1, ZoomAt({0, 0}, MapToolKind::ZoomIn));
    EXPECT_EQ(0, ZoomAt({0, 0}, MapToolKind::ZoomIn));
    EXPECT_EQ(4, display->GetLayer());
}

TEST_F(LayerSwitch, NeverAdvancesForAHostThatDoesNotPaintAndStillEndsAtOnce) {
    script->Hold();
    Open(3);
    Zoom(MapToolKind::ZoomIn);
    ASSERT_TRUE(Await([&] { return window->repaints.size() == 3; })) << "two renderings, a step";
    script->Release();
    const auto posted = window->repaints.size();
    EXPECT_FALSE(Await(
        [&] {
            // A tile posts nothing while the switch runs, and a step waits for its paint.
            return window->repaints.size() != posted || !display->IsSwitchingLayer();
        },
        500));
    AwaitPicture();
    const ULONGLONG start = ::GetTickCount64();
    display.reset();
    EXPECT_LT(::GetTickCount64() - start, 1000U);
}

TEST_F(LayerSwitch, ShowsTheOldPictureUntilTheNewLayersTilesAreThere) {
    Open(3);  // the view begins at (156, 68) of the layer's 512 x 256 pixels
    AwaitPicture();
    const std::uint32_t old = PaintedAt(100, 60);
    Zoom(MapToolKind::ZoomIn);
    // Until a step was made, the picture is the old one, though all tiles are of the new layer.
    EXPECT_EQ(FromColour(TileColour(3, 2, 1)), PaintedAt(0, 0));
    EXPECT_EQ(old, PaintedAt(100, 60));
    Animate();
    // The tiles came meanwhile, and posted nothing: they are in the bitmap that is shown now.
    AwaitPicture();
    EXPECT_EQ(FromColour(TileColour(4, 8, 4)), PaintedAt(101, 61));
    EXPECT_EQ(FromColour(TileColour(4, 7, 3)), PaintedAt(90, 50));

    // Without tiles of the next layer, what is there is split, and merged again on the way back.
    script->SetTileAnswer(TileAnswer::Nothing);
    for (const MapToolKind tool : {MapToolKind::ZoomIn, MapToolKind::ZoomOut}) {
        Zoom(tool);
        Animate();
        AwaitPicture();
        EXPECT_EQ(FromColour(TileColour(4, 8, 4)), PaintedAt(110, 70)) << static_cast<int>(tool);
    }
}

TEST_F(LayerSwitch, LosesNoTileWhenTheProviderLacksTheNextLayer) {
    script->Hold();
    ScriptedMap map = WorldMap();
    Open(3, map);
    ASSERT_TRUE(script->AwaitHeld(2, 10000));
    map.layerCount = 3;  // the map that was opened has five
    script->SetMaps({map});
    Zoom(MapToolKind::ZoomIn);
    EXPECT_EQ(3, display->GetLayer());
    script->Release();
    Animate();
    AwaitPicture();
    for (const CPoint at : {CPoint(5, 5), CPoint(195, 5), CPoint(5, 115), CPoint(195, 115)}) {
        EXPECT_NE(kWaitingGrey, PaintedAt(at.x, at.y)) << at.x << "," << at.y;
    }
}

/// What a switch thread drives, without a display: it does what the test wants of a step.
struct SteppedTool : ILayerSwitchTool {
    bool Step() override { return step(); }
    std::function<bool()> step = [] { return false; };
};

// The tool's step ends the switch thread at once, so the test makes the steps itself.
TEST(LayerSwitchAlone, StartsEachTimeAtTheFormerScaleAlsoAfterAnEndBetweenTwoSteps) {
    SteppedTool tool;
    int repaints = 0;
    CLayerSwitch layerSwitch(tool, [&] { ++repaints; });
    std::vector<double> factors;
    const auto paint = [&](CMapBitmap&, const PaintMoment& moment) {
        factors.push_back(moment.currentFactor);
    };
    const auto begin = [&](SwitchMode mode) {
        layerSwitch.Begin(mode, 1.0, 1.0, {CMapBitmap::Create({8, 8}, {0, 0}), {}, {}, {1, 1}});
        layerSwitch.Draw({0, 0}, paint);
    };
    begin(SwitchMode::ZoomIn);
    EXPECT_TRUE(layerSwitch.Step());
    EXPECT_TRUE(layerSwitch.Step()) << "not painted: waits";
    EXPECT_EQ(1, repaints);
    layerSwitch.Draw({0, 0}, paint);
    layerSwitch.End();
    EXPECT_FALSE(layerSwitch.Step()) << "ended meanwhile: goes no step further";
    EXPECT_FALSE(layerSwitch.Draw({0, 0}, paint));

    begin(SwitchMode::ZoomOut);
    EXPECT_EQ((std::vector<double>{1, 1.2, 1}), factors);
}

// Without its stop event, or with an exception, the thread ends early: the switch ends with it.
TEST(LayerSwitchAlone, EndsWithItsThreadHoweverThatEnds) {
    SteppedTool tool;
    std::atomic<int> repaints{0};
    CLayerSwitch layerSwitch(tool, [&] { ++repaints; });
    for (const bool fails : {false, true}) {
        tool.step = [fails] { return fails ? throw std::runtime_error("no memory") : false; };
        layerSwitch.Begin(SwitchMode::ZoomIn, 1.0, 1.0, {});
        layerSwitch.Start();
        EXPECT_TRUE(Await([&] { return !layerSwitch.IsBusy(); })) << fails;
    }
    EXPECT_EQ(2, repaints) << "the host still shows a step";
}

TEST(LayerSwitchAlone, GoesInEvenStepsToTheRatioOfTheLayers) {
    const struct {
        SwitchMode mode;
        double scale;  ///< of the first layer; the next one's is 1
        int steps;
        CSize last;  ///< of a view of 200 x 120: what the last step shows of it
    } switches[] = {
        {SwitchMode::ZoomIn, 0.55, 14, {55, 33}},    // to 2 / 0.55
        {SwitchMode::ZoomOut, 0.55, 8, {727, 436}},  // to 0.55 / 2
        {SwitchMode::ZoomIn, 1.9, 1, {190, 114}},    // to 2 / 1.9
        {SwitchMode::ZoomOut, 1.9, 1, {210, 126}},   // to 1.9 / 2
        {SwitchMode::ZoomOut, 2.0, 0, {200, 120}},   // to 1, as what no provider can mean
        {SwitchMode::ZoomIn, 0.0, 0, {200, 120}},   {SwitchMode::ZoomIn, 1e308, 0, {200, 120}},
    };
    for (const auto& [mode, scale, steps, last] : switches) {
        const bool in = mode == SwitchMode::ZoomIn;
        SteppedTool tool;
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
            EXPECT_NEAR(100 + way * 30, (shown.left + shown.right) / 2.0, 1.5) << i;
            EXPECT_NEAR(60 + way * 20, (shown.top + shown.bottom) / 2.0, 1.5) << i;
        }
        EXPECT_TRUE(layerSwitch.IsRunning());
        EXPECT_EQ(last, shown.Size()) << scale;
        layerSwitch.Step();
        EXPECT_FALSE(layerSwitch.IsRunning());
    }
}

TEST_F(LayerSwitch, AHundredZoomsAndDragsLeaveNothingBehind) {
    script->SetDelay(1);
    Open(3);
    std::mt19937 random(7);
    const auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
    for (int i = 0; i < 100; ++i) {
        const CPoint at(below(200), below(120));
        Use(static_cast<MapToolKind>(below(4)));
        display->OnLButtonDown(0, at);
        display->OnMouseMove(0, {below(200), below(120)});
        display->OnLButtonUp(0, {below(200), below(120)});
        const int frames = below(4);
        for (int frame = 0; frame < frames; ++frame) {
            Paint();
        }
        Await([&, rounds = below(8)]() mutable { return rounds-- <= 0; });
    }
    Paint();
    // The fixture counts tiles, bitmaps and providers when the display is gone.
}

}  // namespace
}  // namespace TerrascopeTest

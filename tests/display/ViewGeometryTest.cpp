#include "terrascope/display/ViewGeometry.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

#include "terrascope/display/CenterPointAdjuster2.h"
#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/tools/OffsetCalculator.h"

namespace Terrascope {
namespace {

/// The world in degrees, 4 x 2 tiles of 256 x 128 pixels.
Viewport World() {
    Viewport view;
    view.extent = {-180, -90, 360, 180};
    view.tileSize = CSize(256, 128);
    view.tileCount = CSize(4, 2);
    view.resolution = {360.0 / 1024, 180.0 / 256};
    view.size = CSize(301, 100);
    view.origin = CPoint(7, 11);
    view.center = {12.5F, -30.25F};
    return view;
}

CSize Permitted(CSize view, CSize layer, CPoint corner, CSize shift) {
    COffsetCalculator calculator;
    calculator.SetViewSize(view);
    calculator.SetLayerSize(layer);
    calculator.SetMapPosition(corner);
    calculator.SetOffset(shift);
    return calculator.PermittedOffset();
}

TEST(ViewGeometry, DeviceToMapAndBackReturnsToThePoint) {
    for (const CSize size : {CSize(300, 100), CSize(301, 99), CSize(1, 1), CSize(0, 0)}) {
        Viewport view = World();
        view.size = size;
        for (const PointD device : {PointD{0, 0}, {7, 11}, {-50.5, 300.25}, {157, 61}}) {
            const PointD back = MapToDevice(view, DeviceToMap(view, device));
            EXPECT_NEAR(device.x, back.x, 1e-9);
            EXPECT_NEAR(device.y, back.y, 1e-9);
        }
        const PointD middle = DeviceToMap(view, {7.0 + view.size.cx / 2, 11.0 + view.size.cy / 2});
        EXPECT_DOUBLE_EQ(12.5, middle.x) << "the centre is at the truncated half";
        EXPECT_DOUBLE_EQ(-30.25, middle.y);
    }
}

TEST(ViewGeometry, RegionsAreClippedToTheMapAndRunDownwards) {
    Viewport view = World();
    const MapRegion inside = RegionAround(view, kVisibleRegionFactor);
    EXPECT_FLOAT_EQ(static_cast<float>(301 * 360.0 / 1024), inside.width);
    EXPECT_FLOAT_EQ(static_cast<float>(-100 * 180.0 / 256), inside.height);

    view.center = {-179, 89};
    const MapRegion corner = RegionAround(view, kLoadRegionFactor);
    EXPECT_FLOAT_EQ(-180, corner.left);
    EXPECT_FLOAT_EQ(90, corner.top);

    view.size = CSize(5000, 5000);
    const MapRegion whole = RegionAround(view, kLoadRegionFactor);
    EXPECT_FLOAT_EQ(360, whole.width);
    EXPECT_FLOAT_EQ(-180, whole.height);
    const TileRange range = TileRangeOf(view, whole);
    EXPECT_EQ(4, range.columnCount);
    EXPECT_EQ(2, range.rowCount);
}

TEST(ViewGeometry, ATinyOverhangAddsNoColumnButASmallOneDoes) {
    Viewport view = World();
    view.extent = {0, 0, 100, 100};
    view.tileSize = CSize(10, 10);
    view.tileCount = CSize(100, 100);
    view.resolution = {0.1, 0.1};  // tiles of one map unit
    for (const auto& [width, tiles] :
         {std::pair(2.0F, 2), {2.000001F, 2}, {2.001F, 3}, {1.999F, 2}}) {
        EXPECT_EQ(tiles, TileRangeOf(view, {0, 100, width, -1}).columnCount) << width;
        EXPECT_EQ(tiles, TileRangeOf(view, {0, 100, 1, -width}).rowCount) << width;
    }
    // The corner of a map may be no float: the region's then lies a hair outside.
    view.extent.x0 = -0.1;
    EXPECT_EQ(0, TileRangeOf(view, {-0.1F, 100, 1, -1}).firstColumn);
    view.extent.x0 = 0;
    const TileRange inner = TileRangeOf(view, {3.5F, 96.5F, 1.0F, -1.0F});
    EXPECT_EQ(3, inner.firstColumn);
    EXPECT_EQ(3, inner.firstRow);
    EXPECT_EQ(5, inner.EndColumn());
    EXPECT_EQ(5, inner.EndRow());
}

TEST(ViewGeometry, TheLargestScreensGetTheirTilesAndMoreIsRefused) {
    Viewport view = World();
    view.size = CSize(7680, 4320);
    for (const int pixels : {16, 32, 8}) {
        view.tileSize = CSize(pixels, pixels);
        view.tileCount = CSize(1 << 20, 1 << 20);
        view.resolution = {360.0 / pixels / (1 << 20), 180.0 / pixels / (1 << 20)};
        view.center = {0, 0};
        const TileRange range = TileRangeOf(view, RegionAround(view, kLoadRegionFactor));
        EXPECT_EQ(pixels < 16, range.refused) << pixels;
        EXPECT_EQ(pixels < 16, range.IsEmpty()) << pixels;
    }
}

// 2^24 tiles of 256 pixels: no int holds the layer's width, and the drag ends at its edges.
TEST(ViewGeometry, ALayerBeyondAnIntStopsAtItsEdges) {
    Viewport view;
    view.extent = {0, 0, 1 << 24, 1 << 24};  // units of one tile
    view.tileSize = CSize(256, 256);
    view.tileCount = CSize(1 << 24, 1 << 24);
    view.resolution = {1.0 / 256, 1.0 / 256};
    view.size = CSize(512, 512);
    const float edge = 1 << 24;
    const std::tuple<CPointF, CSize, CSize> cases[] = {
        {{1, edge - 1}, {50, 50}, {0, 0}},  // top left corner
        {{1, edge - 1}, {-50, -50}, {-50, -50}},
        {{edge - 1, 1}, {-50, -50}, {0, 0}},  // bottom right corner
        {{edge - 1, 1}, {50, 50}, {50, 50}},
        {{edge / 2, edge / 2}, {-50, 50}, {-50, 50}}};
    for (const auto& [center, shift, permitted] : cases) {
        view.center = center;
        const LayerPlace place = PlaceOfLayer(view);
        EXPECT_EQ(permitted, Permitted(view.size, place.size, place.corner, shift))
            << center.x << "," << center.y;
    }
}

TEST(CenterPointAdjuster, KeepsItsUnevenAxes) {
    const MapExtent map{0, 0, 100, 50};
    const Resolution one{1, 1};
    const struct {
        CSize view;
        CPointF proposed, expected;
    } cases[] = {
        {{20, 10}, {50, 25}, {50, 25}},      // inside: unchanged
        {{20, 10}, {0, 0}, {10, 5}},         // beyond left and bottom
        {{20, 10}, {99, 49}, {90, 45}},      // beyond right and top
        {{200, 100}, {150, 75}, {100, 50}},  // wider: to the left edge; higher: to the bottom
        {{200, 100}, {0, -50}, {0, 0}},      // right edge inside the view; top edge inside it
        {{100, 50}, {60, 20}, {50, 25}},     // exactly the map
    };
    for (const auto& c : cases) {
        const CPointF result = CCenterPointAdjuster2(&map, &one, c.proposed, c.view).Adjusted();
        EXPECT_EQ(c.expected, result)
            << c.proposed.x << "," << c.proposed.y << " in " << c.view.cx << "x" << c.view.cy
            << " gave " << result.x << "," << result.y;
    }
}

TEST(OffsetCalculator, StopsTheMapAtAllFourEdges) {
    // A view of 100 pixels.
    const struct {
        const char* what;
        int layer, corner, shift, permitted;
    } cases[] = {
        {"no shift", 300, 50, 0, 0},
        {"larger, free", 300, -50, -20, -20},
        {"larger, stops at its right edge", 300, -190, -20, -10},
        {"larger, stops at its left edge", 300, -5, 20, 5},
        {"smaller, free", 40, 30, 10, 10},
        {"smaller, stops at the right", 40, 55, 10, 5},
        {"smaller, stops at the left", 40, 5, -10, -5},
        {"smaller and outside comes back", 40, 80, 1, -20},
        {"just as large", 100, 0, 7, 0},
    };
    for (const auto& c : cases) {
        for (const bool vertical : {false, true}) {
            const auto pair = [&](int value, int other) {
                return vertical ? CSize(other, value) : CSize(value, other);
            };
            EXPECT_EQ(pair(c.permitted, 0),
                      Permitted(pair(100, 77), pair(c.layer, 500),
                                CPoint(0, 0) + pair(c.corner, -3), pair(c.shift, 0)))
                << c.what << vertical;
        }
    }
}

TEST(DeviceUnits, FollowTheScreensDotsPerInch) {
    EXPECT_EQ(319.0F, DeviceFactor(96));
    EXPECT_EQ(399.0F, DeviceFactor(120));
    EXPECT_EQ(479.0F, DeviceFactor(144));
    EXPECT_EQ(INT_MAX, DeviceToLogical(INT_MAX, 319.0F)) << "too large for an int";
}

}  // namespace
}  // namespace Terrascope

#include "terrascope/display/ViewGeometry.h"

#include <algorithm>
#include <cmath>

#include "terrascope/support/Truncate.h"

namespace Terrascope {

namespace {

/// More tiles than a screen of 7680 x 4320 pixels shows of 16 pixels each: a layer of tiny tiles
/// must not fill the memory.
constexpr double kMostTiles = 400000;

/// The first whole tile beyond `end` tiles, cut to five decimal places before it is rounded up.
double EndTile(double end) {
    return std::ceil(std::trunc(end * 100000) / 100000);
}

/// Whole pixels that can be added to others without overflow.
int BoundedPixels(double value) {
    return TruncateToInt(std::clamp(value, -1.0e9, 1.0e9));
}

}  // namespace

PointD DeviceToMap(const Viewport& view, PointD device) {
    const int halfWidth = view.size.cx / 2;
    const int halfHeight = view.size.cy / 2;
    return {(device.x - view.origin.x - halfWidth) * view.resolution.x + view.center.x,
            (halfHeight - (device.y - view.origin.y)) * view.resolution.y + view.center.y};
}

PointD MapToDevice(const Viewport& view, PointD map) {
    if (!view.resolution.IsUsable()) {
        return {static_cast<double>(view.origin.x), static_cast<double>(view.origin.y)};
    }
    const int halfWidth = view.size.cx / 2;
    const int halfHeight = view.size.cy / 2;
    const Resolution& r = view.resolution;
    return {(map.x - (view.center.x - halfWidth * r.x)) / r.x + view.origin.x,
            (halfHeight * r.y + view.center.y - map.y) / r.y + view.origin.y};
}

CPoint MapToDevicePixels(const Viewport& view, PointD map) {
    const PointD device = MapToDevice(view, map);
    return {TruncateToInt(std::clamp<double>(device.x, -kFarPixels, kFarPixels)),
            TruncateToInt(std::clamp<double>(device.y, -kFarPixels, kFarPixels))};
}

LayerPlace PlaceOfLayer(const Viewport& view) {
    if (!view.resolution.IsUsable()) {
        return {};
    }
    const int halfWidth = view.size.cx / 2;
    const int halfHeight = view.size.cy / 2;
    const double left =
        std::trunc(halfWidth - (view.center.x - view.extent.x0) / view.resolution.x);
    const double top =
        std::trunc(halfHeight - (view.extent.Top() - view.center.y) / view.resolution.y);
    const double width = static_cast<double>(view.tileSize.cx) * view.tileCount.cx;
    const double height = static_cast<double>(view.tileSize.cy) * view.tileCount.cy;
    const auto bounded = [](double edge) {
        return TruncateToInt(std::clamp<double>(edge, -kFarPixels, kFarPixels));
    };
    const CPoint corner(bounded(left), bounded(top));
    return {corner, CSize(bounded(left + width) - corner.x, bounded(top + height) - corner.y)};
}

MapRegion RegionAround(const Viewport& view, double factor) {
    const double width = view.size.cx * factor * view.resolution.x;
    const double height = view.size.cy * factor * view.resolution.y;
    const double left = std::max(view.center.x - width * 0.5, view.extent.x0);
    const double top = std::min(view.center.y + height * 0.5, view.extent.Top());
    const double right = std::min(view.center.x + width * 0.5, view.extent.Right());
    const double bottom = std::max(view.center.y - height * 0.5, view.extent.y0);
    return {static_cast<float>(left), static_cast<float>(top), static_cast<float>(right - left),
            static_cast<float>(bottom - top)};
}

TileRange TileRangeOf(const Viewport& view, const MapRegion& region) {
    const double tileWidth = view.tileSize.cx * view.resolution.x;
    const double tileHeight = view.tileSize.cy * view.resolution.y;
    if (!(tileWidth > 0.0) || !(tileHeight > 0.0)) {
        return {};
    }

    // The far edges are added in single precision, as the region is kept.
    const float right = region.left + region.width;
    const float bottom = region.top + region.height;
    const double top = view.extent.Top();
    // The region's corner is in single precision and may lie a hair beyond the map's: no tile is
    // there, and the key of a column -1 would name one at the far side.
    const double firstColumn =
        std::max(std::floor((region.left - view.extent.x0) / tileWidth), 0.0);
    const double firstRow = std::max(std::floor((top - region.top) / tileHeight), 0.0);
    const double endColumn = std::min(EndTile((right - view.extent.x0) / tileWidth),
                                      static_cast<double>(view.tileCount.cx));
    const double endRow =
        std::min(EndTile((top - bottom) / tileHeight), static_cast<double>(view.tileCount.cy));
    const double columns = endColumn - firstColumn;
    const double rows = endRow - firstRow;
    if (!(columns > 0.0) || !(rows > 0.0)) {
        return {};
    }
    if (columns * rows > kMostTiles) {
        return {.refused = true};
    }
    return {BoundedPixels(firstColumn), BoundedPixels(firstRow), BoundedPixels(columns),
            BoundedPixels(rows)};
}

CSize PixelSizeOf(const Viewport& view, const TileRange& range) {
    if (range.IsEmpty()) {
        return {0, 0};
    }
    const auto bounded = [](double size) {
        return TruncateToInt(std::clamp<double>(size, 0.0, kFarPixels));
    };
    return {bounded(static_cast<double>(view.tileSize.cx) * range.columnCount),
            bounded(static_cast<double>(view.tileSize.cy) * range.rowCount)};
}

CRect SourceRectangle(const PaintMoment& moment, CSize viewSize) {
    const Resolution& r = moment.resolution;
    if (!r.IsUsable() || viewSize.cx <= 0 || viewSize.cy <= 0) {
        return {0, 0, 0, 0};
    }

    // A target factor of 1 has no way to go: it is the view at rest.
    const double a = moment.targetFactor;
    const double way = a - 1.0;
    const double k = way != 0.0 ? std::fabs((moment.currentFactor - 1.0) / way) : 0.0;
    const double m = way != 0.0 ? (a - moment.currentFactor) / way : 1.0;

    const double width = viewSize.cx;
    const double height = viewSize.cy;
    const auto left = static_cast<float>(moment.center.x - r.x * width * 0.5);
    const auto top = static_cast<float>(r.y * height * 0.5 + moment.center.y);
    const int centerX = BoundedPixels((left - moment.bitmapOrigin.x) / r.x + width * 0.5);
    const int centerY = BoundedPixels((moment.bitmapOrigin.y - top) / r.y + height * 0.5);

    // Zooming a view of 400 pixels in (A = 2) about a point 50 pixels right of its centre: at B = 1
    // the source is 400 wide about the old centre; at B = 1.5, k = m = 0.5 and it is 300 wide, 25
    // pixels further right; at B = 2 it is the 200 that will fill the view, 50 further right.
    const auto extent = [&](double size) {
        const double smallest = a != 0.0 ? size / a : size;
        return BoundedPixels((size - smallest) * m + smallest);
    };
    const int sourceWidth = extent(width);
    const int sourceHeight = extent(height);
    const int x = BoundedPixels(std::trunc(moment.shift.x / r.x) * k) - sourceWidth / 2 + centerX;
    const int y = centerY - sourceHeight / 2 + BoundedPixels(std::trunc(-moment.shift.y / r.y) * k);
    // A rectangle of no size has nothing to show; a negative one would be drawn mirrored.
    if (sourceWidth <= 0 || sourceHeight <= 0) {
        return {0, 0, 0, 0};
    }
    return {x, y, x + sourceWidth, y + sourceHeight};
}

}  // namespace Terrascope

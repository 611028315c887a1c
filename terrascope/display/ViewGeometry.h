#pragma once

#include <afxwin.h>

#include <cstdint>

#include "terrascope/support/PointF.h"
#include "terrascope/tiles/MapRegion.h"

namespace Terrascope {

/// The arithmetic of the viewport, in plain values: no window, no lock, no tile.
///
/// Units: map units are the doubles of the map's extent, y upwards; device units are client
///        pixels, y downwards; columns count from the map's left edge, rows from its top edge.
///        Conversions to whole numbers truncate toward zero. Halves of the view's size are whole
///        numbers where the formulas have it so.

/// The map's rectangle: (x0, y0) is its lower-left corner.
struct MapExtent {
    double x0 = 0.0;
    double y0 = 0.0;
    double width = 0.0;
    double height = 0.0;

    double Right() const { return x0 + width; }
    double Top() const { return y0 + height; }
};

/// Map units per pixel.
struct Resolution {
    double x = 0.0;
    double y = 0.0;

    /// False for a layer without tiles: nothing can be converted or drawn with it.
    bool IsUsable() const { return x > 0.0 && y > 0.0; }
    bool operator==(const Resolution&) const = default;
};

struct PointD {
    double x = 0.0;
    double y = 0.0;
};

/// Everything that ties the view to the map.
struct Viewport {
    MapExtent extent;
    Resolution resolution;
    CPointF center;         ///< the map point in the view's middle
    CPoint origin{0, 0};    ///< of the view in the host window, pixels
    CSize size{0, 0};       ///< pixels
    CSize tileSize{0, 0};   ///< pixels of one tile of the layer
    CSize tileCount{0, 0};  ///< columns and rows of the layer
};

PointD DeviceToMap(const Viewport& view, PointD device);
PointD MapToDevice(const Viewport& view, PointD map);

/// The same for a map point and whole pixels, truncated toward zero and at most kFarPixels away.
CPoint MapToDevicePixels(const Viewport& view, PointD map);

/// Farther than any screen reaches, and two of these can be added.
constexpr int kFarPixels = 1 << 28;

/// Where the map's top-left corner lies, relative to the view, and the layer's size: whole pixels.
struct LayerPlace {
    CPoint corner{0, 0};
    CSize size{0, 0};
};

/// Edges beyond kFarPixels are drawn in to there: nothing that a drag can reach changes by it, and
/// the numbers of a layer of 2^31 pixels and more fit.
LayerPlace PlaceOfLayer(const Viewport& view);

constexpr double kLoadRegionFactor = 1.5;
constexpr double kVisibleRegionFactor = 1.0;

/// `factor` times the view about the centre, clipped to the map.
MapRegion RegionAround(const Viewport& view, double factor);

/// The tiles that cover a region; half-open: the end column and row are the first beyond it.
struct TileRange {
    int firstColumn = 0;
    int firstRow = 0;
    int columnCount = 0;
    int rowCount = 0;
    bool refused = false;  ///< empty, for it would be more tiles than any screen shows

    int EndColumn() const { return firstColumn + columnCount; }
    int EndRow() const { return firstRow + rowCount; }
    bool IsEmpty() const { return columnCount <= 0 || rowCount <= 0; }
    bool Contains(std::int64_t column, std::int64_t row) const {
        return column >= firstColumn && column < EndColumn() && row >= firstRow && row < EndRow();
    }
};

/// An edge less than 1/100000 of a tile past a boundary adds no column or row. Empty when the
/// layer is unusable, and refused when the range is so large that no view could want it.
TileRange TileRangeOf(const Viewport& view, const MapRegion& region);

/// The size of a range's tiles together, at most kFarPixels in each direction.
CSize PixelSizeOf(const Viewport& view, const TileRange& range);

/// What painting needs of the moment whose bitmap it shows: the view now, or the view from before
/// a layer switch.
struct PaintMoment {
    Resolution resolution;
    CPointF center;
    CPointF bitmapOrigin;        ///< the map point of the bitmap's top-left pixel
    CPointF shift;               ///< how far the display's centre has moved since, map units
    double targetFactor = 2.0;   ///< of the layer switch
    double currentFactor = 1.0;  ///< 1: at rest, a copy pixel for pixel
};

/// The rectangle of the bitmap that fills the view; empty when there is nothing to divide by.
/// It may lie partly or wholly outside the bitmap.
CRect SourceRectangle(const PaintMoment& moment, CSize viewSize);

}  // namespace Terrascope

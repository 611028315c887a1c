#pragma once

#include <cstdint>
#include <optional>

#include "plugins/common/TileAddress.h"
#include "plugins/common/TileGrid.h"

namespace Terrascope::Plugins {

/// A tile by the numbers of its file: columns from the west edge of the file's whole grid, rows
/// from its north edge.
struct GridTile {
    int zoom = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;

    bool operator==(const GridTile&) const = default;
};

/// Tiles of one zoom level; both ends are in.
struct TileRange {
    std::int64_t firstColumn = 0;
    std::int64_t firstRow = 0;
    std::int64_t lastColumn = 0;
    std::int64_t lastRow = 0;

    std::int64_t Columns() const { return lastColumn - firstColumn + 1; }
    std::int64_t Rows() const { return lastRow - firstRow + 1; }
};

/// The layers of a map that is a part of its file's grid: whole tiles of its first layer. Columns
/// and rows of the map count from that part's corner, which may lie anywhere, so that they double
/// from layer to layer.
struct ArchiveGrid {
    int firstLayer = 1;   ///< at least 1
    int lastLayer = 1;    ///< at most kDeepestAddressableLayer
    int zoomOfLayer = 0;  ///< a layer's number plus this is its zoom level in the file
    TileRange first;      ///< of the first layer, in the file's numbers
    MapExtent extent;     ///< of the first layer's tiles, in map units

    /// Columns or rows of a layer from the first to the last one.
    std::int64_t Columns(int layer) const { return first.Columns() << (layer - firstLayer); }
    std::int64_t Rows(int layer) const { return first.Rows() << (layer - firstLayer); }
    /// Nothing for a tile outside the map.
    std::optional<GridTile> Find(const TileAddress& address) const;
};

/// The tiles that a rectangle touches, in a matrix of so many columns and rows; the rectangle is in
/// tiles, with y downwards (`north` is less than `south`). A ten-thousandth of a tile beyond an
/// edge, which rounded numbers make, does not count. At least one tile.
TileRange CoverTiles(const MapExtent& area, std::int64_t columns, std::int64_t rows);

/// The grid of web maps: one square tile at zoom 0. Map units are degrees of longitude in x, and in
/// y the Mercator ordinate on the same scale: the square world is -180 to 180 in both. `first` is
/// of zoom `firstZoom`, which is at least 1.
ArchiveGrid MercatorGrid(int firstZoom, int lastZoom, const TileRange& first);

/// The whole of a zoom level of that grid.
TileRange MercatorWorldTiles(int zoom);

/// The tiles of a zoom level that cover a rectangle in degrees; a ten-thousandth of a tile beyond
/// an edge, which rounded numbers make, does not count. Nothing when the rectangle is none, or lies
/// outside the world. One that crosses 180 degrees is taken for all longitudes.
std::optional<TileRange> MercatorTiles(const MapExtent& degrees, int zoom);

}  // namespace Terrascope::Plugins

#include "plugins/db/ArchiveGrid.h"

#include <algorithm>
#include <cmath>

namespace Terrascope::Plugins {
namespace {

constexpr double kHalfWorld = 180.0;           // degrees, and the Mercator ordinate on their scale
constexpr double kRounding = 1e-4;             // tiles
constexpr double kMercatorLimit = 85.0511287;  // degrees of latitude: the square world ends there

/// The tiles that a stretch from `begin` to `end`, in tiles, touches.
void Cover(double begin, double end, std::int64_t count, std::int64_t& first, std::int64_t& last) {
    const auto most = static_cast<double>(count - 1);
    const double lowest = std::clamp(std::floor(begin + kRounding), 0.0, most);
    first = static_cast<std::int64_t>(lowest);
    last = static_cast<std::int64_t>(std::clamp(std::ceil(end - kRounding) - 1.0, lowest, most));
}

}  // namespace

std::optional<GridTile> ArchiveGrid::Find(const TileAddress& address) const {
    if (address.layer < firstLayer || address.layer > lastLayer ||
        address.column >= Columns(address.layer) || address.row >= Rows(address.layer)) {
        return std::nullopt;
    }
    const int below = address.layer - firstLayer;
    return GridTile{address.layer + zoomOfLayer, (first.firstColumn << below) + address.column,
                    (first.firstRow << below) + address.row};
}

TileRange CoverTiles(const MapExtent& area, std::int64_t columns, std::int64_t rows) {
    TileRange range;
    Cover(area.west, area.east, columns, range.firstColumn, range.lastColumn);
    Cover(area.north, area.south, rows, range.firstRow, range.lastRow);
    return range;
}

ArchiveGrid MercatorGrid(int firstZoom, int lastZoom, const TileRange& first) {
    ArchiveGrid grid;
    grid.firstLayer = firstZoom;
    grid.lastLayer = lastZoom;
    grid.first = first;
    const double tile = std::ldexp(2 * kHalfWorld, -firstZoom);
    grid.extent.west = -kHalfWorld + tile * static_cast<double>(first.firstColumn);
    grid.extent.east = -kHalfWorld + tile * static_cast<double>(first.lastColumn + 1);
    grid.extent.north = kHalfWorld - tile * static_cast<double>(first.firstRow);
    grid.extent.south = kHalfWorld - tile * static_cast<double>(first.lastRow + 1);
    return grid;
}

TileRange MercatorWorldTiles(int zoom) {
    const std::int64_t last = (std::int64_t{1} << zoom) - 1;
    return {0, 0, last, last};
}

std::optional<TileRange> MercatorTiles(const MapExtent& degrees, int zoom) {
    MapExtent area = degrees;
    if (area.west > area.east) {
        area.west = -kHalfWorld;
        area.east = kHalfWorld;
    }
    const bool isArea = area.west < area.east && area.south < area.north &&
                        area.west < kHalfWorld && area.east > -kHalfWorld &&
                        area.south < kMercatorLimit && area.north > -kMercatorLimit;
    if (!isArea) {
        return std::nullopt;  // also where a number is none
    }
    const std::int64_t count = std::int64_t{1} << zoom;
    const auto tiles = static_cast<double>(count);
    const auto columnAt = [&](double longitude) {
        return (longitude + kHalfWorld) / (2 * kHalfWorld) * tiles;
    };
    const auto rowAt = [&](double latitude) {
        return (kHalfWorld - MercatorOrdinate(latitude)) / (2 * kHalfWorld) * tiles;
    };
    return CoverTiles(
        {columnAt(area.west), rowAt(area.south), columnAt(area.east), rowAt(area.north)}, count,
        count);
}

}  // namespace Terrascope::Plugins

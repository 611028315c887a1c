#include "plugins/common/TileGrid.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Terrascope::Plugins {
namespace {

/// The latitude whose ordinate is 180: arctan(sinh(pi)).
constexpr double kMercatorEdge = 85.0511287798066;
constexpr double kOnTheEdge = 1e-6;  // of a tile

struct Span {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

/// The tiles, of `count` from 0 to `length`, that [from, to] touches; none: count 0.
Span TilesOf(double from, double to, double length, std::uint32_t count) {
    const double first = std::floor(from / length * count + kOnTheEdge);
    const double end = std::ceil(to / length * count - kOnTheEdge);
    const double least = std::max(first, 0.0);
    const double most = std::min(end, static_cast<double>(count));
    // Also false for what is no number.
    if (!(least < most)) {
        return {};
    }
    return {static_cast<std::uint32_t>(least), static_cast<std::uint32_t>(most - least)};
}

}  // namespace

std::optional<TileGrid> TileGrid::Crop(const TilePyramid& pyramid, const MapExtent& extent,
                                       int layerCount) {
    const int last = pyramid.firstLayer + layerCount - 1;
    if (pyramid.firstLayer < 1 || layerCount < 1 || last > kDeepestAddressableLayer ||
        std::uint64_t{std::max(pyramid.columns, pyramid.rows)} << (layerCount - 1) >
            std::uint64_t{1} << 31) {
        return std::nullopt;
    }
    const MapExtent& all = pyramid.extent;
    const Span columns = TilesOf(extent.west - all.west, extent.east - all.west,
                                 all.east - all.west, pyramid.columns);
    const Span rows = TilesOf(all.north - extent.north, all.north - extent.south,
                              all.north - all.south, pyramid.rows);
    const std::uint32_t most = 1U << pyramid.firstLayer;
    if (columns.count == 0 || rows.count == 0 || columns.count > most || rows.count > most) {
        return std::nullopt;
    }
    TileGrid grid;
    grid.m_pyramid = pyramid;
    grid.m_layerCount = layerCount;
    grid.m_firstColumn = columns.first;
    grid.m_columns = columns.count;
    grid.m_firstRow = rows.first;
    grid.m_rows = rows.count;
    return grid;
}

std::optional<PyramidTile> TileGrid::Locate(const TileAddress& address) const {
    const int step = address.layer - m_pyramid.firstLayer;
    if (step < 0 || step >= m_layerCount || address.column >= m_columns << step ||
        address.row >= m_rows << step) {
        return std::nullopt;
    }
    const std::uint32_t row = (m_firstRow << step) + address.row;
    return PyramidTile{(m_firstColumn << step) + address.column, row,
                       (m_pyramid.rows << step) - 1 - row};
}

void TileGrid::Describe(tagTILE_MAP_INFO& info) const {
    const MapExtent& all = m_pyramid.extent;
    const double width = (all.east - all.west) / m_pyramid.columns;
    const double height = (all.north - all.south) / m_pyramid.rows;
    info.nFirstLayer = m_pyramid.firstLayer;
    info.nLayerCount = m_layerCount;
    info.dLongitudeStart = all.west + width * m_firstColumn;
    info.dLongitude = width * m_columns;
    info.dLatitudeStart = all.north - height * (m_firstRow + m_rows);
    info.dLatitude = height * m_rows;
}

std::vector<tagTILE_MAP_LAYER_INFO> TileGrid::Layers(const tagTILE_MAP_INFO& info) const {
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    for (int step = 0; step < m_layerCount; ++step) {
        tagTILE_MAP_LAYER_INFO& layer = layers.emplace_back();
        layer.nLayerNumber = m_pyramid.firstLayer + step;
        layer.nTileCountX = static_cast<std::int32_t>(m_columns << step);
        layer.nTileCountY = static_cast<std::int32_t>(m_rows << step);
        layer.nTileWidth = info.nTileWidth;
        layer.nTileHeight = info.nTileHeight;
    }
    return layers;
}

TilePyramid MercatorWorld(int firstLayer) {
    return {{-180, -180, 180, 180}, 1U << firstLayer, 1U << firstLayer, firstLayer};
}

TilePyramid GeodeticWorld(int firstLayer) {
    return {{-180, -90, 180, 90}, 1U << firstLayer, 1U << (firstLayer - 1), firstLayer};
}

double MercatorOrdinate(double latitude) {
    const double bounded = std::clamp(latitude, -kMercatorEdge, kMercatorEdge);
    const double radians = bounded * std::numbers::pi / 180;
    return std::asinh(std::tan(radians)) * 180 / std::numbers::pi;
}

double MercatorLatitude(double ordinate) {
    return std::atan(std::sinh(ordinate * std::numbers::pi / 180)) * 180 / std::numbers::pi;
}

}  // namespace Terrascope::Plugins

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "plugins/common/TileAddress.h"
#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope::Plugins {

/// A rectangle in map units, y upwards.
struct MapExtent {
    double west = 0;
    double south = 0;
    double east = 0;
    double north = 0;
};

/// A pyramid of tiles from its first layer on: columns and rows count from its north-west corner
/// and double from layer to layer.
struct TilePyramid {
    MapExtent extent;           ///< of all columns and rows
    std::uint32_t columns = 1;  ///< in the first layer
    std::uint32_t rows = 1;
    int firstLayer = 1;
};

/// A tile by its place in the whole pyramid.
struct PyramidTile {
    std::uint32_t column = 0;
    std::uint32_t row = 0;            ///< from the north edge
    std::uint32_t rowFromBottom = 0;  ///< from the south edge
};

/// The part of a pyramid that a map shows: whole tiles of the first layer. The map's own columns
/// and rows count from that part's north-west corner in every layer, so that they double too, and
/// its keys stay as short as its layers' numbers.
class TileGrid {
public:
    /// The least part that holds `extent`. Edges that miss a tile's by less than a millionth of the
    /// tile count as on it. Nothing when the two have no tile in common, or when the part has more
    /// columns or rows than keys of the first layer can name, or when the last layer is too deep
    /// for 32-bit numbers.
    static std::optional<TileGrid> Crop(const TilePyramid& pyramid, const MapExtent& extent,
                                        int layerCount);

    /// Where a tile of the map is in the pyramid; nothing when the map has no such tile.
    std::optional<PyramidTile> Locate(const TileAddress& address) const;

    /// Sets extent and layers of a map's record.
    void Describe(tagTILE_MAP_INFO& info) const;

    /// The records of the layers, with tiles of `info`'s size and the zoom factor 1.
    std::vector<tagTILE_MAP_LAYER_INFO> Layers(const tagTILE_MAP_INFO& info) const;

private:
    TilePyramid m_pyramid;
    int m_layerCount = 1;
    // In tiles of the first layer:
    std::uint32_t m_firstColumn = 0;
    std::uint32_t m_firstRow = 0;
    std::uint32_t m_columns = 1;
    std::uint32_t m_rows = 1;
};

/// The square world -180 to 180 in both axes, one tile in layer 0, from a layer on: degrees of
/// longitude in x, the Mercator ordinate on the same scale in y.
TilePyramid MercatorWorld(int firstLayer);

/// The world in degrees, two square tiles side by side in layer 1.
TilePyramid GeodeticWorld(int firstLayer);

/// The Mercator ordinate of a latitude, in degrees on the scale of longitude: 180 at the edge of
/// the square world, to which latitudes beyond it are bounded.
double MercatorOrdinate(double latitude);

/// The latitude of a Mercator ordinate.
double MercatorLatitude(double ordinate);

}  // namespace Terrascope::Plugins

#pragma once

#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope {

/// One zoom layer as the display uses it: the provider's record with the tile's real pixel size
/// and the map units that one pixel covers.
class CTileLayer2 : public tagTILE_MAP_LAYER_INFO {
public:
    CTileLayer2() = default;
    CTileLayer2(const CTileLayer2&) = default;
    CTileLayer2& operator=(const CTileLayer2&) = default;

    /// The tile size is the map's times the layer's zoom factor, truncated; the size in `info` is
    /// not used. A layer without columns or rows gets 0 units per pixel.
    CTileLayer2(const tagTILE_MAP_INFO& map, const tagTILE_MAP_LAYER_INFO& info);

    virtual ~CTileLayer2() = default;

    double dUnitsPerPixelX = 0.0;  ///< map units across one tile pixel
    double dUnitsPerPixelY = 0.0;  ///< map units down one tile pixel
};

}  // namespace Terrascope

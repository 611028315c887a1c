#include "terrascope/tiles/TileLayer2.h"

#include "terrascope/support/Truncate.h"

namespace Terrascope {

namespace {

double UnitsPerPixel(double span, int tileCount, int tileSize) {
    const double pixels = static_cast<double>(tileCount) * tileSize;
    return pixels != 0.0 ? span / pixels : 0.0;
}

}  // namespace

CTileLayer2::CTileLayer2(const tagTILE_MAP_INFO& map, const tagTILE_MAP_LAYER_INFO& info)
    : tagTILE_MAP_LAYER_INFO(info) {
    nTileWidth = TruncateToInt(map.nTileWidth * dZoomFactor);
    nTileHeight = TruncateToInt(map.nTileHeight * dZoomFactor);
    dUnitsPerPixelX = UnitsPerPixel(map.dLongitude, nTileCountX, nTileWidth);
    dUnitsPerPixelY = UnitsPerPixel(map.dLatitude, nTileCountY, nTileHeight);
}

}  // namespace Terrascope

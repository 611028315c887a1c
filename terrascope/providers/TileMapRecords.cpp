#include "terrascope/providers/TileMapRecords.h"

#include <cstddef>

// The places of the records' fields are part of the binary interface.
// offsetof is conditionally supported for tagTILE_IMAGE: its stream has a virtual function.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace Terrascope {

static_assert(offsetof(tagTILE_MAP_INFO, strName) == 0);
static_assert(offsetof(tagTILE_MAP_INFO, stUpdateTime) == 8);
static_assert(offsetof(tagTILE_MAP_INFO, strTileFormat) == 24);
static_assert(offsetof(tagTILE_MAP_INFO, nLayerCount) == 32);
static_assert(offsetof(tagTILE_MAP_INFO, nFirstLayer) == 36);
static_assert(offsetof(tagTILE_MAP_INFO, dLongitudeStart) == 40);
static_assert(offsetof(tagTILE_MAP_INFO, dLatitudeStart) == 48);
static_assert(offsetof(tagTILE_MAP_INFO, dLongitude) == 56);
static_assert(offsetof(tagTILE_MAP_INFO, dLatitude) == 64);
static_assert(offsetof(tagTILE_MAP_INFO, nTileWidth) == 72);
static_assert(offsetof(tagTILE_MAP_INFO, nTileHeight) == 76);
static_assert(offsetof(tagTILE_MAP_INFO, strRemark) == 80);
static_assert(sizeof(tagTILE_MAP_INFO) == 88);

static_assert(offsetof(tagTILE_MAP_LAYER_INFO, nLayerNumber) == 0);
static_assert(offsetof(tagTILE_MAP_LAYER_INFO, nTileCountX) == 4);
static_assert(offsetof(tagTILE_MAP_LAYER_INFO, nTileCountY) == 8);
static_assert(offsetof(tagTILE_MAP_LAYER_INFO, nTileWidth) == 12);
static_assert(offsetof(tagTILE_MAP_LAYER_INFO, nTileHeight) == 16);
static_assert(offsetof(tagTILE_MAP_LAYER_INFO, dZoomFactor) == 24);
static_assert(sizeof(tagTILE_MAP_LAYER_INFO) == 32);

static_assert(offsetof(tagTILE_IMAGE, nColumn) == 0);
static_assert(offsetof(tagTILE_IMAGE, nRow) == 4);
static_assert(offsetof(tagTILE_IMAGE, strKey) == 8);
static_assert(offsetof(tagTILE_IMAGE, stream) == 16);
static_assert(sizeof(tagTILE_IMAGE) == 72);

}  // namespace Terrascope

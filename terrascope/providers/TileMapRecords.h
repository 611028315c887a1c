#pragma once

#include <afx.h>
#include <windows.h>

#include <cstdint>

#include "terrascope/support/MemStream.h"

namespace Terrascope {

/// The records that cross the plug-in boundary. A provider makes them with `new`; the library
/// deletes them, so both must share one run-time heap. The order of the fields is part of the
/// binary interface.

/// One map. Degrees or other map units, y upwards; the layers are numbered consecutively.
struct tagTILE_MAP_INFO {
    CString strName;                ///< the key for every other call
    SYSTEMTIME stUpdateTime{};      ///< when the data was last updated, local time
    CString strTileFormat = "jpg";  ///< shown as text; decoding looks at the bytes
    std::int32_t nLayerCount = 0;
    std::int32_t nFirstLayer = 0;
    double dLongitudeStart = 0.0;  ///< west edge
    double dLatitudeStart = 0.0;   ///< south edge
    double dLongitude = 0.0;       ///< span to the east edge
    double dLatitude = 0.0;        ///< span to the north edge
    std::int32_t nTileWidth = 0;   ///< pixels
    std::int32_t nTileHeight = 0;  ///< pixels
    CString strRemark;

    tagTILE_MAP_INFO() { ::GetLocalTime(&stUpdateTime); }
};

/// One zoom layer. The display takes the tile's pixel size from the map and the zoom factor; the
/// size given here is not used.
struct tagTILE_MAP_LAYER_INFO {
    std::int32_t nLayerNumber = -1;
    std::int32_t nTileCountX = 0;  ///< columns across the map
    std::int32_t nTileCountY = 0;  ///< rows down the map
    std::int32_t nTileWidth = 0;   ///< pixels
    std::int32_t nTileHeight = 0;  ///< pixels
    double dZoomFactor = 1.0;      ///< applied to the map's tile size
};

/// One delivered tile: the encoded image as it was stored (JPEG, PNG, ...). Whoever holds the
/// pointer last deletes it. Columns count from the map's left edge, rows from its top edge.
struct tagTILE_IMAGE {
    std::uint32_t nColumn = 0;
    std::uint32_t nRow = 0;
    CString strKey;     ///< the tile key that was asked for
    CMemStream stream;  ///< the image file's bytes
};

}  // namespace Terrascope

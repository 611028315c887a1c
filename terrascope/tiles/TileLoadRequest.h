#pragma once

#include <afxwin.h>

#include <cstddef>
#include <cstdint>

namespace Terrascope {

/// One tile that wants its image. An empty key means "nothing to do".
struct tagTILE_LOAD_REQUEST {
    CString strMapName;
    std::int32_t nLayerNumber = -1;
    CString strKey;
    /// The tile's size, for which its image is decoded; empty: the receiver decodes.
    CSize tileSize{0, 0};
    bool ahead = false;  ///< its tile is not in view yet
    /// How often the queue had been cleared when this was pushed.
    std::uint32_t serial = 0;
    double distance = 0.0;     ///< as in TileRank, when the queue was last arranged
    std::size_t failures = 0;  ///< how often it brought no tile
    bool delivered = false;    ///< while it is being fetched: its tile has come
};

}  // namespace Terrascope

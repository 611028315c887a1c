#pragma once

#include <afx.h>

#include <array>
#include <cstddef>

namespace Terrascope {

/// How a display loads its tiles, from the section TILE_LOAD of Terrascope.ini. Queue, threads and
/// display ask this and nothing else.
struct TileLoadPolicy {
    /// FAST: no pace; requests are picked up at once, those of tiles that left the load region are
    /// withdrawn, and the load region is fetched beyond the view.
    bool fast = false;
    int threads = 2;             ///< THREADS, 1 to 16
    std::size_t cacheBytes = 0;  ///< CACHE_MB, 0 to 4096: pictures of tiles that are out of sight
    bool codecs = false;         ///< CODECS: decoder plug-ins are asked before GDI+
    /// With FAST: how long after each failure a tile that is in view is asked for again, in ms. Not
    /// a setting.
    std::array<unsigned, 3> retryDelays{2000, 8000, 30000};
};

/// Reads the settings beside the library's own file. What is absent has its default; so has what
/// cannot be used, and the log names it.
TileLoadPolicy ReadTileLoadPolicy();

/// The same from a named file.
TileLoadPolicy ReadTileLoadPolicy(const CString& path);

}  // namespace Terrascope

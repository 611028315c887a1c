#pragma once

#include <afx.h>
#include <afxmt.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "terrascope/providers/TileMapRecords.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Which layers of a local provider's own maps the remote one has too. Keys count from a map's
/// corner, so the remote provider's tiles are of use only where its map of the same name has the
/// same extent, and its layer as many tiles.
///
/// Threads: every operation may run beside every other; nobody is asked under the lock.
/// Errors:  passes on what the remote provider throws.
class CSameMaps {
public:
    /// The remote's records of one map and layer; null: it has none.
    using AskInfo = std::function<std::unique_ptr<tagTILE_MAP_INFO>()>;
    using AskLayer = std::function<std::unique_ptr<tagTILE_MAP_LAYER_INFO>()>;

    /// They are asked for once for each layer, and again until the remote provider has the map.
    bool IsSame(const tagTILE_MAP_INFO& map, const tagTILE_MAP_LAYER_INFO& layer,
                const AskInfo& askInfo, const AskLayer& askLayer);

    /// Asks anew from now on: the maps may have changed.
    void Forget();

private:
    CCriticalSection m_lock;
    std::map<std::pair<std::string, int>, bool> m_isSame TERRASCOPE_GUARDED_BY(m_lock);
    std::uint64_t m_forgotten TERRASCOPE_GUARDED_BY(m_lock) = 0;  ///< how many times
};

}  // namespace Terrascope::Plugins

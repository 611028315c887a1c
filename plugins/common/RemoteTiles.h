#pragma once

#include <afx.h>
#include <afxmt.h>

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <utility>

#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// What a provider asks of the remote one that is attached to it, about maps of its own. Keys count
/// from a map's corner, so the remote provider's tiles are of use only where its map of the same
/// name has the same extent, and its layer as many tiles.
///
/// Threads: every operation may run beside every other; the remote provider is not called under the
///          lock.
/// Errors:  passes on what the remote provider throws.
class CRemoteTiles {
public:
    /// The tile of that key, which the caller owns; empty without a remote provider, or when its
    /// map is another. Whether it is one, is asked once for each layer, and again until the remote
    /// provider has the map.
    std::list<tagTILE_IMAGE*> Load(ITileMapInfoProvider* remote, const tagTILE_MAP_INFO& map,
                                   const tagTILE_MAP_LAYER_INFO& layer, const CString& key);

    /// Asks anew from now on: the maps may have changed.
    void Forget();

private:
    bool IsSameMap(ITileMapInfoProvider& remote, const tagTILE_MAP_INFO& map,
                   const tagTILE_MAP_LAYER_INFO& layer);

    CCriticalSection m_lock;
    std::map<std::pair<std::string, int>, bool> m_isSame TERRASCOPE_GUARDED_BY(m_lock);
    std::uint64_t m_forgotten TERRASCOPE_GUARDED_BY(m_lock) = 0;  ///< how many times
};

}  // namespace Terrascope::Plugins

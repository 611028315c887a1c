#pragma once

#include <afx.h>

#include <cstddef>
#include <string>

#include "terrascope/tiles/PictureCache.h"
#include "terrascope/tiles/Tile2.h"

namespace Terrascope {

/// A display's place in the picture cache: names its tiles by provider, map, update time, layer
/// size and key. Does nothing without a cache.
///
/// Owns:    a hold on the cache.
/// Threads: Open on the user-interface thread; the rest under the tile lock.
class CTileShelf {
public:
    explicit CTileShelf(std::size_t bytes) : m_hold(bytes) {}

    /// The map that the tiles are of from now on, and the identity of its provider.
    void Open(const CString& provider, const tagTILE_MAP_INFO& map);

    /// Keeps the picture of a tile that goes, if its image was there and memory is not short.
    void Keep(const CTile2& tile) const noexcept;

    /// Gives a new tile its picture, if it was kept.
    void Restore(CTile2& tile) const;

private:
    std::string NameOf(const CTile2& tile) const;
    bool IsUsable() const;

    CPictureCache::CHold m_hold;
    std::string m_map;
    unsigned m_generation = 0;
};

}  // namespace Terrascope

#include "terrascope/display/TileShelf.h"

#include <utility>

namespace Terrascope {

void CTileShelf::Open(const CString& provider, const tagTILE_MAP_INFO& map) {
    if (m_hold.Get() == nullptr) {
        return;
    }
    const SYSTEMTIME& t = map.stUpdateTime;
    CString time;
    time.Format("%d-%d-%d %d:%d:%d.%d", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond,
                t.wMilliseconds);
    // Line ends separate: names and paths have none.
    m_map = std::string(provider) + "\n" + map.strName.GetString() + "\n" + time.GetString() + "\n";
    m_generation = m_hold.Get()->Generation();
}

void CTileShelf::Keep(const CTile2& tile) const noexcept {
    if (!IsUsable()) {
        return;
    }
    try {
        CachedTile cached = tile.Cached();
        if (cached.picture != nullptr) {
            m_hold.Get()->Put(NameOf(tile), std::move(cached));
        }
    } catch (...) {
        return;  // no memory: the tile is fetched again
    }
}

void CTileShelf::Restore(CTile2& tile) const {
    if (IsUsable() && !tile.HasImage()) {
        CachedTile cached = m_hold.Get()->Take(NameOf(tile));
        if (cached.picture != nullptr) {
            tile.SetCached(std::move(cached));
        }
    }
}

std::string CTileShelf::NameOf(const CTile2& tile) const {
    const CSize size = tile.PixelSize();
    return m_map + std::to_string(size.cx) + "x" + std::to_string(size.cy) + "\n" +
           tile.Key().GetString();
}

// After an update of the library the old names are worthless until the map is opened anew.
bool CTileShelf::IsUsable() const {
    return m_hold.Get() != nullptr && m_hold.Get()->Generation() == m_generation;
}

}  // namespace Terrascope

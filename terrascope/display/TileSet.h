#pragma once

#include <afxmt.h>

#include <functional>
#include <map>
#include <memory>

#include "terrascope/display/LockOrder.h"
#include "terrascope/display/TileShelf.h"
#include "terrascope/display/ViewGeometry.h"
#include "terrascope/support/ThreadAnnotations.h"
#include "terrascope/tiles/Tile2.h"

namespace Terrascope {

/// The tiles of the load region in the current layer, and those prepared for the next layer.
///
/// Owns:    the tiles. Borrows: the shelf, and the queue that new tiles are given.
/// Threads: any, under the tile lock, which the caller takes; it is the outermost of a display.
class CTileSet {
public:
    /// `shelf` keeps the pictures of tiles that go, and gives them back to those made anew.
    explicit CTileSet(CTileShelf& shelf) : m_shelf(shelf) {}
    CTileSet(const CTileSet&) = delete;
    CTileSet& operator=(const CTileSet&) = delete;

    CCriticalSection& Lock() TERRASCOPE_RETURN_CAPABILITY(m_lock) { return m_lock; }

    /// The tile of a key, or null.
    CTile2* Find(const CString& key) const TERRASCOPE_REQUIRES(m_lock);

    /// Makes the tiles of a range that are missing, drops those outside it. Prepared tiles are
    /// taken first; where a tile is already, the prepared one is dropped.
    void Refresh(const tagTILE_MAP_INFO& map, const CTileLayer2& layer, const TileRange& range,
                 CTileLoadQueue2* queue) TERRASCOPE_REQUIRES(m_lock);

    /// Calls `visit` for each tile.
    void VisitAll(const std::function<void(CTile2&)>& visit) const TERRASCOPE_REQUIRES(m_lock);

    /// Calls `visit` for each tile of a range, from the last column and row to the first.
    void VisitBackwards(const TileRange& range, int layerNumber,
                        const std::function<void(CTile2&)>& visit) const
        TERRASCOPE_REQUIRES(m_lock);

    /// Prepares the next finer layer: each tile of `range` gives its four quarters, so that the new
    /// layer shows something from the first frame on. Throws what CTile2::Split does.
    void PrepareFiner(const CTileLayer2& layer, const TileRange& range, const CTileLayer2& finer)
        TERRASCOPE_REQUIRES(m_lock);

    /// Prepares the next coarser layer: each parent of a tile is merged from its four children;
    /// children that are missing are grey.
    void PrepareCoarser(const tagTILE_MAP_INFO& map, const CTileLayer2& layer,
                        const CTileLayer2& coarser, CTileLoadQueue2* queue)
        TERRASCOPE_REQUIRES(m_lock);

    void Clear() TERRASCOPE_REQUIRES(m_lock);
    void ClearPrepared() TERRASCOPE_REQUIRES(m_lock);

private:
    using TileMap = std::map<CString, std::unique_ptr<CTile2>>;

    CTileShelf& m_shelf;
    CCriticalSection m_lock TERRASCOPE_ACQUIRED_BEFORE(LockOrder::afterTiles);
    TileMap m_tiles TERRASCOPE_GUARDED_BY(m_lock);
    TileMap m_zoomInTiles TERRASCOPE_GUARDED_BY(m_lock);
    TileMap m_zoomOutTiles TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope

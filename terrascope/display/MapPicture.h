#pragma once

#include <afxmt.h>

#include <functional>
#include <memory>

#include "terrascope/display/LayerSwitch.h"
#include "terrascope/display/LockOrder.h"
#include "terrascope/display/MapBitmap.h"
#include "terrascope/display/ViewGeometry.h"
#include "terrascope/support/ThreadAnnotations.h"
#include "terrascope/tiles/TileCanvas.h"

namespace Terrascope {

/// The picture of the load region: the off-screen bitmap, where it lies on the map, and its lock.
///
/// Units:   pixels of the current layer; the origin is the map point of the top-left pixel.
/// Owns:    the bitmap.
/// Threads: Render, Draw, Take and Forget on the user-interface thread, PaintTile on any.
/// Locks:   the bitmap lock. Render and PaintTile are called under the tile lock, and what they
///          call back runs under both.
/// Errors:  without memory for a bitmap nothing is painted.
class CMapPicture {
public:
    /// Paints tiles on a canvas whose (0, 0) shows the map point `origin`.
    using PaintTiles = std::function<void(CTileCanvas& canvas, const CPointF& origin)>;

    CMapPicture() = default;
    CMapPicture(const CMapPicture&) = delete;
    CMapPicture& operator=(const CMapPicture&) = delete;

    /// Lists what tiles paint on such a canvas.
    using ListTiles = std::function<void(TilePaints& paints, const CPointF& origin)>;

    /// Brings the bitmap to the load region of a view of layer `layerNumber` and paints the tiles
    /// that are listed. `mayScroll`: what is painted already is moved, not made anew.
    void Render(const Viewport& view, int layerNumber, bool mayScroll, const ListTiles& list);

    /// Has a tile, or several, painted if there is a bitmap.
    void PaintTile(const PaintTiles& paint);

    /// Gives the bitmap and its place to `draw`, if there is one; the centre and the resolution of
    /// `view` tell which part of it the view shows.
    void Draw(const Viewport& view, const CLayerSwitch::Paint& draw);

    /// Hands the bitmap over to a layer switch.
    FormerView Take(const Viewport& view);

    /// What the bitmap shows is not to be moved into the next rendering.
    void Forget();

    void Clear();

private:
    /// False when the bitmap was left as it is.
    bool PrepareLocked(const Viewport& view, int layerNumber, bool mayScroll)
        TERRASCOPE_REQUIRES(m_lock);
    bool ScrollLocked(const Viewport& view, CSize size, const CPointF& origin)
        TERRASCOPE_REQUIRES(m_lock);

    CCriticalSection m_lock TERRASCOPE_ACQUIRED_AFTER(LockOrder::afterTiles)
        TERRASCOPE_ACQUIRED_BEFORE(LockOrder::afterBitmap);
    std::unique_ptr<CMapBitmap> m_bitmap TERRASCOPE_GUARDED_BY(m_lock);
    /// What the last rendering painted, as long as nothing else was painted since.
    TilePaints m_shown TERRASCOPE_GUARDED_BY(m_lock);
    CPointF m_origin TERRASCOPE_GUARDED_BY(m_lock);
    int m_layerNumber TERRASCOPE_GUARDED_BY(m_lock) = -1;
    Resolution m_resolution TERRASCOPE_GUARDED_BY(m_lock);  ///< of the layer that the bitmap shows
};

}  // namespace Terrascope

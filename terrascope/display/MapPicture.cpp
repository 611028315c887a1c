#include "terrascope/display/MapPicture.h"

#include <utility>

namespace Terrascope {

void CMapPicture::Render(const Viewport& view, int layerNumber, bool mayScroll,
                         const ListTiles& list) {
    CSingleLock lock(&m_lock, TRUE);
    const bool changed = PrepareLocked(view, layerNumber, mayScroll);
    if (m_bitmap == nullptr) {
        return;
    }
    if (changed) {
        m_shown.clear();
    }
    TilePaints paints;
    list(paints, m_origin);
    // The same pictures at the same places in the same order would paint what is there.
    if (changed || paints != m_shown) {
        m_bitmap->Canvas().Paint(paints);
        m_shown = std::move(paints);
    }
}

void CMapPicture::PaintTile(const PaintTiles& paint) {
    CSingleLock lock(&m_lock, TRUE);
    if (m_bitmap != nullptr) {
        m_shown.clear();
        CTileCanvas canvas = m_bitmap->Canvas();
        paint(canvas, m_origin);
    }
}

void CMapPicture::Draw(const Viewport& view, const CLayerSwitch::Paint& draw) {
    CSingleLock lock(&m_lock, TRUE);
    if (m_bitmap != nullptr) {
        PaintMoment moment;
        moment.resolution = view.resolution;
        moment.center = view.center;
        moment.bitmapOrigin = m_origin;
        draw(*m_bitmap, moment);
    }
}

FormerView CMapPicture::Take(const Viewport& view) {
    CSingleLock lock(&m_lock, TRUE);
    m_shown.clear();
    return {std::move(m_bitmap), m_origin, view.center, view.resolution};
}

void CMapPicture::Forget() {
    CSingleLock lock(&m_lock, TRUE);
    m_layerNumber = -1;
}

void CMapPicture::Clear() {
    CSingleLock lock(&m_lock, TRUE);
    m_shown.clear();
    m_bitmap.reset();
}

// While panning, the bitmap is moved, not made anew. That needs a bitmap of this very layer; one
// about an unchanged corner keeps its place, and gets the size that the region has now.
bool CMapPicture::PrepareLocked(const Viewport& view, int layerNumber, bool mayScroll) {
    const MapRegion region = RegionAround(view, kLoadRegionFactor);
    const TileRange range = TileRangeOf(view, region);
    const CPointF origin(region.left, region.top);
    const CSize size = PixelSizeOf(view, range);
    const bool sameLayer = m_layerNumber == layerNumber && m_resolution == view.resolution;
    const bool reuse = mayScroll && m_bitmap != nullptr && sameLayer;
    const bool stays = reuse && origin == m_origin && m_bitmap->Size() == size;
    if (!stays && !(reuse && ScrollLocked(view, size, origin))) {
        m_bitmap.reset();
        m_bitmap = CMapBitmap::Create(size, view.tileSize);
    }
    m_origin = origin;
    m_layerNumber = layerNumber;
    m_resolution = view.resolution;
    return !stays;
}

bool CMapPicture::ScrollLocked(const Viewport& view, CSize size, const CPointF& origin) {
    const CPoint from = MapToDevicePixels(view, {m_origin.x, m_origin.y});
    const CPoint to = MapToDevicePixels(view, {origin.x, origin.y});
    const CSize shift = to - from;
    if (m_bitmap->Scroll(shift.cx, shift.cy, size)) {
        return true;
    }
    auto larger = m_bitmap->CopyWithSize(size, view.tileSize);
    if (larger == nullptr || !larger->Scroll(shift.cx, shift.cy, size)) {
        return false;
    }
    m_bitmap = std::move(larger);
    return true;
}

}  // namespace Terrascope

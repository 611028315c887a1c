// From the off-screen bitmap to the host's device context.
#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/Terrascope2.h"
#include "terrascope/display/ViewPainter.h"

namespace Terrascope {

void CTerrascope2::Draw(CDC* dc) {
    if (!dc || !dc->GetSafeHdc())
        return;
    NoteHostWindow();
    if (!DrawSwitch(*dc))
        DrawAtRest(*dc);
}

// False when no switch runs; it may end between the question and the lock.
bool CTerrascope2::DrawSwitch(CDC& dc) {
    if (!m_switch.switching)
        return false;
    CSingleLock lock(&m_switch.lock);
    if (!lock.Lock() || !m_switch.switching)
        return false;
    if (m_switch.oldBitmap) {
        PaintMoment moment;
        moment.resolution = {m_switch.oldLayer.dUnitsPerPixelX, m_switch.oldLayer.dUnitsPerPixelY};
        moment.center = m_switch.oldCenter;
        moment.bitmapOrigin = m_switch.oldBitmapOrigin;
        moment.shift = Center() - m_switch.oldCenter;
        moment.targetFactor = m_switch.targetFactor;
        moment.currentFactor = m_switch.currentFactor;
        PaintBitmap(dc, *m_switch.oldBitmap, moment);
    }
    m_switch.painted = true;
    return true;
}

void CTerrascope2::DrawAtRest(CDC& dc) {
    CSingleLock lock(&m_bitmapLock);
    if (!lock.Lock() || !m_bitmap)
        return;
    const Viewport view = View();
    PaintMoment moment;
    moment.resolution = view.resolution;
    moment.center = view.center;
    moment.bitmapOrigin = m_bitmapOrigin;
    PaintBitmap(dc, *m_bitmap, moment);
}

// Called under the lock of the bitmap that is painted.
void CTerrascope2::PaintBitmap(CDC& dc, CMapBitmap& bitmap, const PaintMoment& moment) {
    const CSize pixels = View().size;
    const CRect source = SourceRectangle(moment, pixels);
    if (!source.IsRectEmpty())
        PaintView(dc, bitmap, source, pixels, ScreenDeviceFactor());
}

}  // namespace Terrascope

// From the off-screen bitmap to the host's device context.
#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/Terrascope2.h"

namespace Terrascope {

namespace {

/// The view's rectangle in the host's logical units.
CSize LogicalSize(CSize pixels) {
    const float factor = ScreenDeviceFactor();
    return {DeviceToLogical(static_cast<int>(pixels.cx), factor), DeviceToLogical(static_cast<int>(pixels.cy), factor)};
}

/// Where a rectangle of logical units at (0, 0) lies in device units, when there it has the
/// bitmap's size in pixels. The truncated logical size falls short of it by a fraction: drawn as
/// it stands, it would resample every pixel.
bool IsPixelExact(const CDC& dc, CSize logical, CSize pixels, CPoint& corner) {
    POINT corners[2] = {{0, 0}, {logical.cx, logical.cy}};
    if (!::LPtoDP(dc.GetSafeHdc(), corners, 2))
        return false;
    corner = corners[0];
    const auto nearly = [](LONG a, LONG b) { return a - b >= -1 && a - b <= 1; };
    return nearly(corners[1].x - corners[0].x, pixels.cx) &&
           nearly(corners[1].y - corners[0].y, pixels.cy);
}

/// Device units for as long as it lives.
class CDeviceUnits {
public:
    explicit CDeviceUnits(CDC& dc) : m_dc(dc.GetSafeHdc()), m_saved(::SaveDC(m_dc)) {
        ::ModifyWorldTransform(m_dc, nullptr, MWT_IDENTITY);
        ::SetMapMode(m_dc, MM_TEXT);
        ::SetWindowOrgEx(m_dc, 0, 0, nullptr);
        ::SetViewportOrgEx(m_dc, 0, 0, nullptr);
    }
    CDeviceUnits(const CDeviceUnits&) = delete;
    CDeviceUnits& operator=(const CDeviceUnits&) = delete;
    ~CDeviceUnits() { ::RestoreDC(m_dc, m_saved); }

private:
    HDC m_dc;
    int m_saved;
};

}  // namespace

void CTerrascope2::Draw(CDC* dc) {
    if (!dc || !dc->GetSafeHdc())
        return;
    HostHandle();
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
    if (source.IsRectEmpty())
        return;
    const CSize logical = LogicalSize(pixels);
    CPoint corner;
    if (source.Size() == pixels && IsPixelExact(dc, logical, pixels, corner)) {
        const CDeviceUnits units(dc);
        bitmap.CopyTo(dc, corner, source);
    } else {
        bitmap.DrawTo(dc, {0, 0, logical.cx, logical.cy}, source);
    }
}

}  // namespace Terrascope

#include "terrascope/display/ViewPainter.h"

#include "terrascope/display/DeviceUnits.h"

namespace Terrascope {

namespace {

constexpr int kStripHeight = 32;  // a quarter of a megabyte for full HD: the processor keeps it

/// Where a rectangle of logical units at (0, 0) lies in device units, when there it has the
/// bitmap's size in pixels. The truncated logical size falls short of it by a fraction: drawn as
/// it stands, it would resample every pixel.
bool IsPixelExact(const CDC& dc, CSize logical, CSize pixels, CPoint& corner) {
    POINT corners[2] = {{0, 0}, {logical.cx, logical.cy}};
    if (!::LPtoDP(dc.GetSafeHdc(), corners, 2)) {
        return false;
    }
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

void PaintView(CDC& dc, CMapBitmap& bitmap, const CRect& source, CSize view, float factor,
               std::unique_ptr<CDibSection>& strip) {
    const CSize logical(DeviceToLogical(static_cast<int>(view.cx), factor),
                        DeviceToLogical(static_cast<int>(view.cy), factor));
    CPoint corner;
    if (!IsPixelExact(dc, logical, view, corner)) {
        bitmap.DrawTo(dc, {0, 0, logical.cx, logical.cy}, source);
        return;
    }
    // In device units a scaled picture, too, begins at the first pixel: by the logical ones it
    // would begin a rounding error later, and leave a line of background.
    const CDeviceUnits units(dc);
    if (strip == nullptr || strip->Width() != view.cx) {
        strip = CDibSection::Create(view.cx, kStripHeight);
    }
    if (strip != nullptr && source.Size() == view) {
        // Of most repaints the device context wants a part alone.
        CRect wanted;
        // A metafile has the clip box of some screen, and takes more.
        const int complexity = ::GetObjectType(dc.GetSafeHdc()) == OBJ_ENHMETADC
                                   ? ERROR
                                   : ::GetClipBox(dc.GetSafeHdc(), &wanted);
        wanted.OffsetRect(source.TopLeft() - corner);
        CRect part;
        if (complexity == ERROR) {
            part = source;
        } else if (complexity == NULLREGION || !part.IntersectRect(&source, &wanted)) {
            return;
        }
        bitmap.CopyTo(dc, corner + (part.TopLeft() - source.TopLeft()), part, *strip);
    } else if (strip != nullptr) {
        bitmap.ScaleTo(dc, CRect(corner, view), source, *strip);
    }
}

}  // namespace Terrascope

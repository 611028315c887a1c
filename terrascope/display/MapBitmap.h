#pragma once

#include <afxwin.h>

#include <cstdint>
#include <memory>

#include "terrascope/display/DibSection.h"
#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/LiveCount.h"
#include "terrascope/tiles/PaintedArea.h"
#include "terrascope/tiles/PictureScaling.h"
#include "terrascope/tiles/TileCanvas.h"

namespace Terrascope {

/// The off-screen picture of the map: 32 bits per pixel with alpha, on the bits of a DIB section,
/// so that GDI copies it out at full speed, and GDI+ can scale it. Most tiles are not copied in:
/// see CPaintedArea.
///
/// Each pixel is either fully opaque or all zero (transparent): tiles and fills are opaque. Which
/// of them are is what the painted area holds, and nothing else.
///
/// Units:   pixels; (0, 0) is the top-left corner, y downwards.
/// Owns:    the DIB section and a memory device context.
/// Threads: none of its own; the caller holds the lock that guards it. GDI's work on the bits is
///          finished when a call returns.
/// Errors:  Create gives null when the size is not positive or memory is short.
class CMapBitmap : public CLiveCount<CMapBitmap> {
public:
    /// A transparent bitmap. `slack` more pixels in each direction are kept in reserve, so that
    /// Scroll can change the size without a new allocation.
    static std::unique_ptr<CMapBitmap> Create(CSize size, CSize slack);

    CMapBitmap(const CMapBitmap&) = delete;
    CMapBitmap& operator=(const CMapBitmap&) = delete;
    ~CMapBitmap() = default;

    CSize Size() const { return m_size; }

    /// Moves the content by (-dx, -dy), gives the bitmap a new size, and makes what that lays
    /// bare opaque grey. False, and nothing changed, when the size is not positive or exceeds the
    /// reserve.
    bool Scroll(int dx, int dy, CSize newSize);

    /// The same content in a fresh bitmap of a larger reserve; null when memory is short.
    std::unique_ptr<CMapBitmap> CopyWithSize(CSize size, CSize slack) const;

    /// The bitmap as tiles paint on it.
    CTileCanvas Canvas();

    /// Copies a rectangle pixel for pixel to a place in device units of `dc`. What lies outside
    /// the bitmap or is transparent leaves the background as it is. `strip` is scratch, at least as
    /// wide as the rectangle.
    void CopyTo(CDC& dc, CPoint to, const CRect& from, CDibSection& strip);

    /// Scales a rectangle into another of device units, each pixel from the nearest one, a strip of
    /// rows after the other. `strip` is scratch of the target's width; the smaller, the warmer.
    void ScaleTo(CDC& dc, const CRect& to, const CRect& from, CDibSection& strip);

    /// The same into a rectangle of the device context's logical units, with GDI+.
    void DrawTo(CDC& dc, const Gdiplus::Rect& to, const CRect& from);

private:
    /// Of a rectangle that is scaled: a part that comes from one place.
    struct ScaledPart {
        CRect rect;                    ///< of the bitmap
        int first;                     ///< of the places along a row
        int end;                       ///< the one behind the last
        std::uint32_t colour;          ///< 0: it is not plain
        const PlacedPicture* picture;  ///< null: the bitmap has the pixels
    };

    CMapBitmap(std::unique_ptr<CDibSection> dib, CSize size);
    /// In the order of painting.
    std::vector<ScaledPart> PartsWithin(const CRect& shown, const NearestPlaces& columns) const;
    /// Scales row `y` of the bitmap.
    void ScaleRow(std::uint32_t* row, const std::vector<ScaledPart>& parts,
                  const NearestPlaces& columns, int y) const;
    CRect Bounds() const { return CRect(0, 0, m_size.cx, m_size.cy); }

    const std::unique_ptr<CDibSection> m_dib;  ///< as large as the reserve
    CSize m_size;
    CPaintedArea m_painted;
};

}  // namespace Terrascope

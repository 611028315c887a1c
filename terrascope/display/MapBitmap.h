#pragma once

#include <afxwin.h>

#include <cstdint>
#include <memory>

#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/LiveCount.h"
#include "terrascope/tiles/PaintedArea.h"
#include "terrascope/tiles/TileCanvas.h"

namespace Terrascope {

/// The off-screen picture of the map: 32 bits per pixel with alpha, on the bits of a DIB section,
/// so that tiles are copied in, GDI copies it out at full speed, and GDI+ can scale it.
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
    ~CMapBitmap();

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
    /// the bitmap or is transparent leaves the background as it is.
    void CopyTo(CDC& dc, CPoint to, const CRect& from);

    /// Draws a rectangle scaled into another of the device context's logical units.
    void DrawTo(CDC& dc, const Gdiplus::Rect& to, const CRect& from);

private:
    CMapBitmap() = default;
    bool Allocate(CSize size, CSize slack);
    void FillGrey(const CRect& rect);
    CRect Bounds() const { return CRect(0, 0, m_size.cx, m_size.cy); }

    CSize m_size{0, 0};
    CSize m_capacity{0, 0};
    CPaintedArea m_painted;
    HBITMAP m_section = nullptr;
    HDC m_memoryDc = nullptr;
    HGDIOBJ m_formerBitmap = nullptr;
    std::uint32_t* m_pixels = nullptr;
};

}  // namespace Terrascope

#pragma once

#include <afxwin.h>

#include <cstdint>

#include "terrascope/support/GdiPlus.h"

namespace Terrascope {

/// The pixels of a 32-bit bitmap, rows from the top, `stride` pixels from row to row.
struct PixelView {
    std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
};

/// Names a picture painted at a place of a surface, whatever the surface was scrolled by since.
/// A default mark matches none that a canvas gives.
struct PaintMark {
    std::uint64_t surface = 0;
    std::int64_t x = 0;
    std::int64_t y = 0;

    bool operator==(const PaintMark&) const = default;
};

/// Where tiles paint themselves: the pixels of the off-screen bitmap while its lock is held.
///
/// Pictures are copied row by row: at rest a tile is as many pixels as its place, and a copy costs
/// a tenth of drawing it with GDI+. The pixels of a tile are always opaque, so a copy is what
/// drawing would give.
///
/// Units:   pixels; (0, 0) is the bitmap's top-left corner, y downwards.
/// Borrows: the pixels.
/// Threads: the thread that holds the bitmap's lock.
class CTileCanvas {
public:
    /// `corner` is the mark of a picture at (0, 0): it names the bitmap, and moves as the bitmap's
    /// content is scrolled.
    CTileCanvas(const PixelView& target, const PaintMark& corner);

    /// The mark of a picture painted at `at`.
    PaintMark MarkAt(CPoint at) const;

    /// Whether a rectangle lies wholly on the canvas.
    bool Holds(const CRect& rect) const;

    /// Copies a picture's top-left `size` pixels to `at`, clipped to the canvas. False when the
    /// picture's pixels cannot be read; the canvas is then unchanged.
    bool Paint(Gdiplus::Bitmap& picture, CPoint at, CSize size);

private:
    PixelView m_target;
    PaintMark m_corner;
};

}  // namespace Terrascope

#pragma once

#include <afxwin.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "terrascope/tiles/PaintedArea.h"
#include "terrascope/tiles/TilePicture.h"

namespace Terrascope {

/// The pixels of a 32-bit bitmap, rows from the top, `stride` pixels from row to row.
struct PixelView {
    std::uint32_t* pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;

    std::uint32_t* Row(int y) const { return pixels + static_cast<std::ptrdiff_t>(y) * stride; }
};

/// What one tile shows, and where.
struct TilePaint {
    CRect place;
    std::shared_ptr<const CTilePicture> picture;  ///< as large as the place; null: waiting grey

    bool operator==(const TilePaint&) const = default;
};

/// In the order of painting: what comes later lies on top.
using TilePaints = std::vector<TilePaint>;

/// Where tiles paint themselves: the pixels of the off-screen bitmap while its lock is held.
///
/// Pictures are copied row by row: at rest a tile is as many pixels as its place, and a copy costs
/// a tenth of drawing it with GDI+. The pixels of a tile are always opaque, so a copy is what
/// drawing would give. They are copied when somebody looks, from the pictures to there; into the
/// bitmap go small ones, and the oldest where there are more than 512.
///
/// Units:   pixels; (0, 0) is the bitmap's top-left corner, y downwards.
/// Borrows: the pixels, and the area that notes what was painted.
/// Threads: the thread that holds the bitmap's lock.
class CTileCanvas {
public:
    CTileCanvas(const PixelView& target, CPaintedArea& painted)
        : m_target(target), m_painted(painted) {}

    /// Copies a picture to `at`, clipped to the canvas.
    void Paint(const CTilePicture& picture, CPoint at);

    /// Gives a rectangle an opaque colour, clipped to the canvas. The pixels are not written before
    /// Settle.
    void Fill(const CRect& rect, std::uint32_t colour);

    /// Paints all; the pixels of larger pictures are not written before Settle.
    void Paint(const TilePaints& paints);

    /// Writes the pixels of what was filled or is in pictures, and lies in a rectangle of the
    /// canvas.
    void Settle(const CRect& rect);

private:
    void Place(const std::shared_ptr<const CTilePicture>& picture, CPoint at);
    CRect Bounds() const { return CRect(0, 0, m_target.width, m_target.height); }

    PixelView m_target;
    CPaintedArea& m_painted;
};

/// Copies what the pictures of an area show in a rectangle to `target`, whose (0, 0) is `from` of
/// the area.
/// Requires: `rect` is one of PicturesWithin, and lies in the target.
void CopyPictures(const CPaintedArea& area, const CRect& rect, const PixelView& target,
                  CPoint from);

}  // namespace Terrascope

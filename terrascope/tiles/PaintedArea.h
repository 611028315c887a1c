#pragma once

#include <afxwin.h>

#include <cstdint>
#include <vector>

#include "terrascope/support/Handles.h"

namespace Terrascope {

/// A rectangle of one colour, 0xAARRGGBB.
struct PlainRect {
    CRect rect;
    std::uint32_t colour = 0;
};

/// The part of a surface that is opaque: the one place that decides what is, and what still shows
/// the ground. Some of it is plain: of one colour whose pixels nobody has written. They are written
/// when somebody wants to see them; most of what waits for tiles is never seen.
///
/// Units:   pixels of the surface; rectangles are half-open.
/// Threads: the thread that holds the surface's lock.
/// Errors:  without memory for a region nothing counts as painted.
class CPaintedArea {
public:
    /// Opaque pixels have been written there.
    void Add(const CRect& rect);

    /// It is of this colour from now on.
    void AddPlain(const CRect& rect, std::uint32_t colour);

    void Clear();

    /// Moves the area with the surface's content and cuts off what leaves `bounds`.
    void Move(int dx, int dy, const CRect& bounds);

    /// The smallest rectangle about all that has pixels.
    CRect BoxOfPixels() const;

    /// What of `rect` has pixels, what of it is plain, and what of it is neither, in rectangles
    /// that do not overlap.
    std::vector<CRect> Within(const CRect& rect) const;
    std::vector<PlainRect> PlainWithin(const CRect& rect) const;
    std::vector<CRect> Missing(const CRect& rect) const;

private:
    struct PlainArea {
        std::uint32_t colour;
        CRegionHandle region;
    };

    CRegionHandle m_region;          ///< what has pixels
    std::vector<PlainArea> m_plain;  ///< one for each colour
};

}  // namespace Terrascope

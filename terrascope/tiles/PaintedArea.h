#pragma once

#include <afxwin.h>

#include <vector>

#include "terrascope/support/Handles.h"

namespace Terrascope {

/// The part of a surface that opaque pixels have been painted on: the one place that decides what
/// is opaque and what still shows the ground.
///
/// Units:   pixels of the surface; rectangles are half-open.
/// Threads: the thread that holds the surface's lock.
/// Errors:  without memory for a region nothing counts as painted.
class CPaintedArea {
public:
    void Add(const CRect& rect);
    void Clear();

    /// Moves the area with the surface's content and cuts off what leaves `bounds`.
    void Move(int dx, int dy, const CRect& bounds);

    /// What of `rect` is painted, and what of it is not, in rectangles that do not overlap.
    std::vector<CRect> Within(const CRect& rect) const;
    std::vector<CRect> Missing(const CRect& rect) const;

private:
    /// `rect` combined with the area by RGN_AND, or RGN_DIFF.
    std::vector<CRect> Combined(const CRect& rect, int mode) const;

    CRegionHandle m_region;
};

}  // namespace Terrascope

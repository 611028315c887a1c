#pragma once

#include "terrascope/display/ViewGeometry.h"

namespace Terrascope {

/// Moves a proposed centre so that the view shows as much of the map as possible.
///
/// The two axes are not alike, and hosts rely on it: a view wider than the map tests the left edge
/// first, one higher than the map the top edge; a smaller view compares strictly in x and with
/// "or equal" in y.
///
/// Units:   map units; the view's size in pixels. Results are computed in double, kept as float.
/// Borrows: extent and resolution, for one adjustment.
class CCenterPointAdjuster2 {
public:
    CCenterPointAdjuster2(const MapExtent* extent, const Resolution* resolution,
                          const CPointF& proposed, CSize viewSize);
    virtual ~CCenterPointAdjuster2() = default;

    float AdjustedX() const;
    float AdjustedY() const;
    CPointF Adjusted() const { return {AdjustedX(), AdjustedY()}; }

private:
    const MapExtent* m_extent;
    const Resolution* m_resolution;
    float m_x;
    float m_y;
    int m_width;
    int m_height;
};

}  // namespace Terrascope

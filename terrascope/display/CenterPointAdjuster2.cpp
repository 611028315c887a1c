#include "terrascope/display/CenterPointAdjuster2.h"

namespace Terrascope {

CCenterPointAdjuster2::CCenterPointAdjuster2(const MapExtent* extent, const Resolution* resolution,
                                             const CPointF& proposed, CSize viewSize)
    : m_extent(extent),
      m_resolution(resolution),
      m_x(proposed.x),
      m_y(proposed.y),
      m_width(viewSize.cx),
      m_height(viewSize.cy) {}

float CCenterPointAdjuster2::AdjustedX() const {
    const double view = m_width * m_resolution->x;
    const double half = view * 0.5;
    const double left = m_extent->x0;
    const double right = m_extent->Right();
    double x = m_x;
    if (view >= m_extent->width) {
        if (m_x - half > left) {
            x = left + half;
        } else if (right > m_x + half) {
            x = right - half;
        }
    } else if (half > m_x - left) {
        x = left + half;
    } else if (half > right - m_x) {
        x = right - half;
    }
    return static_cast<float>(x);
}

float CCenterPointAdjuster2::AdjustedY() const {
    const double view = m_height * m_resolution->y;
    const double half = view * 0.5;
    const double bottom = m_extent->y0;
    const double top = m_extent->Top();
    double y = m_y;
    if (view >= m_extent->height) {
        if (top > m_y + half) {
            y = top - half;
        } else if (m_y - half > bottom) {
            y = bottom + half;
        }
    } else if (half >= m_y - bottom) {
        y = bottom + half;
    } else if (half >= top - m_y) {
        y = top - half;
    }
    return static_cast<float>(y);
}

}  // namespace Terrascope

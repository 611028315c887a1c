#include "terrascope/display/tools/OffsetCalculator.h"

#include <cstdint>

#include "terrascope/support/Truncate.h"

namespace Terrascope {

namespace {

/// One axis; in 64 bits, for the sums of large numbers.
std::int64_t Permitted(std::int64_t view, std::int64_t layer, std::int64_t shift,
                       std::int64_t corner) {
    if (shift == 0) {
        return 0;
    }
    const std::int64_t farEdge = corner + shift + layer;
    if (layer > view) {
        if (shift < 0 && farEdge < view) {
            return view - corner - layer;
        }
        if (shift > 0 && corner + shift > 0) {
            return -corner;
        }
        return shift;
    }
    if (shift > 0 && farEdge > view) {
        return view - corner - layer;
    }
    if (shift < 0 && corner + shift < 0) {
        return -corner;
    }
    return shift;
}

}  // namespace

CSize COffsetCalculator::PermittedOffset() const {
    const auto x = Permitted(m_viewSize.cx, m_layerSize.cx, m_offset.cx, m_mapPosition.x);
    const auto y = Permitted(m_viewSize.cy, m_layerSize.cy, m_offset.cy, m_mapPosition.y);
    return {TruncateToInt(static_cast<double>(x)), TruncateToInt(static_cast<double>(y))};
}

}  // namespace Terrascope

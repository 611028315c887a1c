#pragma once

#include <limits>

namespace Terrascope {

/// A double as a whole number, truncated toward zero. Values that no int holds become the nearest
/// int, and not-a-number becomes 0: a plain conversion of these would be undefined.
inline int TruncateToInt(double value) {
    constexpr double kLowest = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    if (value != value) {
        return 0;
    }
    if (value <= kLowest) {
        return std::numeric_limits<int>::min();
    }
    if (value >= kHighest) {
        return std::numeric_limits<int>::max();
    }
    return static_cast<int>(value);
}

}  // namespace Terrascope

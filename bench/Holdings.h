#pragma once

#include <cstddef>

namespace Terrascope::Bench {

/// What this process has of the system.
struct Holdings {
    std::size_t privateBytes = 0;  ///< committed; under Wine, committed and touched
    std::size_t handles = 0;
    std::size_t threads = 0;
};

Holdings HoldingsNow();

}  // namespace Terrascope::Bench

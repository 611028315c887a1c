#include "terrascope/support/Scramble.h"

#include <afx.h>

namespace Terrascope {

void ScrambleBytes(std::uint32_t a, std::uint32_t b, void* buffer, std::size_t length) {
    ASSERT(buffer != nullptr || length == 0);
    unsigned key = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        key += (a >> shift & 0xFFU) + (b >> shift & 0xFFU);
    }
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<std::uint8_t>((bytes[i] - 1U) ^ key);
    }
}

}  // namespace Terrascope

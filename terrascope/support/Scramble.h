#pragma once

#include <cstddef>
#include <cstdint>

namespace Terrascope {

/// Makes bytes unreadable at first sight; no protection. The two numbers are the key. No inverse is
/// kept here: the reader of such bytes undoes the two steps (exclusive or, then add 1). The library
/// does not call it; it is for its users.
///
/// Requires: `buffer` is not null unless `length` is 0.
void ScrambleBytes(std::uint32_t a, std::uint32_t b, void* buffer, std::size_t length);

}  // namespace Terrascope

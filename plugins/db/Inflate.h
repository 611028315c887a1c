#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Terrascope::Plugins {

/// What gzip has packed. Nothing when it is damaged or cut off, or would become larger than `limit`
/// bytes; bytes behind it are ignored.
std::optional<std::vector<std::uint8_t>> Gunzip(std::span<const std::uint8_t> packed,
                                                std::size_t limit);

}  // namespace Terrascope::Plugins

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Terrascope::Plugins {

/// The deepest layer whose columns and rows fit 32-bit signed counts; the library itself takes keys
/// that are longer.
inline constexpr int kDeepestAddressableLayer = 30;

/// A tile by its layer and its place in it: columns from the map's left edge, rows from its top
/// edge.
struct TileAddress {
    int layer = 0;
    std::uint32_t column = 0;
    std::uint32_t row = 0;
};

/// The tile that a key names: one digit from 0 to 3 for each layer, most significant first, with
/// column bit + 2 x row bit. Nothing for any other text, the empty one included: there is no tile
/// in layer 0.
std::optional<TileAddress> ParseTileKey(std::string_view key);

}  // namespace Terrascope::Plugins

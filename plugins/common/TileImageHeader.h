#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace Terrascope::Plugins {

/// What a stored tile is, by its first bytes, and its size in pixels.
struct TileImageHeader {
    /// "png", "jpg", "gif", "webp", "pbf" (packed with gzip), or empty: unknown
    std::string_view format;
    int width = 0;  ///< 0 when the header has none, or one of more than 8192
    int height = 0;
};

/// Reads the header of a whole image file in memory. Any bytes are safe, also none.
TileImageHeader ReadTileImageHeader(std::span<const std::uint8_t> file);

}  // namespace Terrascope::Plugins

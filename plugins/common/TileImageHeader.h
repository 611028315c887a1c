#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace Terrascope::Plugins {

/// What a stored tile is, by its first bytes, and its size in pixels.
struct TileImageHeader {
    std::string_view format;  ///< "png", "jpg", "webp", "pbf" (packed with gzip), or empty: unknown
    int width = 0;            ///< 0 when the header has none, or one of more than 8192
    int height = 0;
};

/// Reads the header of a whole image file in memory. Any bytes are safe, also none.
/// Sources: the PNG (ISO 15948), JPEG (ITU-T T.81) and WebP (RFC 9649) formats.
TileImageHeader ReadTileImageHeader(std::span<const std::uint8_t> file);

}  // namespace Terrascope::Plugins

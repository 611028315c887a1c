#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "terrascope/tiles/ImageDecoderPlugin.h"

namespace Terrascope::Codecs {

using Bytes = std::span<const std::uint8_t>;

inline bool StartsWith(Bytes file, Bytes start) {
    return file.size() >= start.size() && std::equal(start.begin(), start.end(), file.begin());
}

inline std::uint8_t* RowOf(const TerrascopeImageRows& rows, std::size_t y) {
    return rows.pixels + y * rows.stride;
}

/// Whether the rows lie within their bytes and are those of an image of this size.
inline bool Fit(const TerrascopeImageRows& rows, std::uint32_t width, std::uint32_t height) {
    return rows.width == width && rows.height == height && width > 0 && height > 0 &&
           rows.stride / 4 >= width && rows.byteCount / rows.stride >= height;
}

}  // namespace Terrascope::Codecs

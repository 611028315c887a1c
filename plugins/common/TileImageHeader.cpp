#include "plugins/common/TileImageHeader.h"

#include <algorithm>

namespace Terrascope::Plugins {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t kLargestSide = 8192;  // pixels, of a map's tiles

/// Past the end every byte is 0.
std::uint32_t At(Bytes file, std::size_t offset) {
    return offset < file.size() ? file[offset] : 0U;
}
std::uint32_t Big16(Bytes file, std::size_t offset) {
    return At(file, offset) << 8 | At(file, offset + 1);
}
std::uint32_t Little16(Bytes file, std::size_t offset) {
    return At(file, offset + 1) << 8 | At(file, offset);
}
std::uint32_t Little24(Bytes file, std::size_t offset) {
    return At(file, offset + 2) << 16 | Little16(file, offset);
}

bool Matches(Bytes file, std::size_t offset, std::string_view text) {
    return offset + text.size() <= file.size() &&
           std::equal(text.begin(), text.end(), file.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

TileImageHeader Sized(std::string_view format, std::uint32_t width, std::uint32_t height) {
    const bool isUsable =
        width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide;
    return isUsable ? TileImageHeader{format, static_cast<int>(width), static_cast<int>(height)}
                    : TileImageHeader{format};
}

/// The size is in the first frame header, behind segments that each have a length.
TileImageHeader JpegHeader(Bytes file) {
    std::size_t at = 2;
    while (at + 3 < file.size() && At(file, at) == 0xFF) {
        const std::uint32_t marker = At(file, at + 1);
        if (marker == 0xFF) {
            ++at;
            continue;
        }
        const bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame) {
            return Sized("jpg", Big16(file, at + 7), Big16(file, at + 5));
        }
        at += 2 + std::max(Big16(file, at + 2), 2U);
    }
    return {"jpg"};
}

TileImageHeader WebpHeader(Bytes file) {
    constexpr std::uint32_t kSide = 0x3FFF;
    if (Matches(file, 12, "VP8X"sv)) {
        return Sized("webp", Little24(file, 24) + 1, Little24(file, 27) + 1);
    }
    if (Matches(file, 12, "VP8L"sv)) {
        const std::uint32_t bits = At(file, 24) << 24 | Little24(file, 21);
        return Sized("webp", (bits & kSide) + 1, (bits >> 14 & kSide) + 1);
    }
    if (Matches(file, 12, "VP8 "sv)) {
        return Sized("webp", Little16(file, 26) & kSide, Little16(file, 28) & kSide);
    }
    return {"webp"};
}

}  // namespace

TileImageHeader ReadTileImageHeader(Bytes file) {
    if (Matches(file, 0, "\x89PNG\r\n\x1A\n"sv)) {
        const bool fits = Big16(file, 16) == 0 && Big16(file, 20) == 0;
        return fits ? Sized("png", Big16(file, 18), Big16(file, 22)) : TileImageHeader{"png"};
    }
    if (Matches(file, 0, "\xFF\xD8"sv)) {
        return JpegHeader(file);
    }
    if (Matches(file, 0, "RIFF"sv) && Matches(file, 8, "WEBP"sv)) {
        return WebpHeader(file);
    }
    if (Matches(file, 0, "\x1F\x8B"sv)) {
        return {"pbf"};
    }
    return {};
}

}  // namespace Terrascope::Plugins

#include "plugins/common/TileImageHeader.h"

#include "terrascope/tiles/ImageHeader.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint32_t kLargestTile = 8192;  // pixels

std::string_view NameOf(ImageFormat format) {
    switch (format) {
        case ImageFormat::Png:
            return "png";
        case ImageFormat::Jpeg:
            return "jpg";
        case ImageFormat::Gif:
            return "gif";
        case ImageFormat::WebP:
            return "webp";
        case ImageFormat::Gzip:
            return "pbf";
        default:
            return "";
    }
}

}  // namespace

TileImageHeader ReadTileImageHeader(std::span<const std::uint8_t> file) {
    const ImageHeader header = ReadImageHeader(file);
    TileImageHeader result{NameOf(header.format)};
    if (header.width <= kLargestTile && header.height <= kLargestTile) {
        result.width = static_cast<int>(header.width);
        result.height = static_cast<int>(header.height);
    }
    return result;
}

}  // namespace Terrascope::Plugins

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Terrascope {

/// The format that the first bytes of an image file announce.
enum class ImageFormat {
    Unknown,
    Jpeg,
    Png,
    Gif,
    Bmp,
    Tiff,
    // Known by sight, but GDI+ does not decode them:
    WebP,
    IsoMedia,  ///< AVIF, HEIF; its size is not read here
    Gzip,      ///< packed vector tiles
    Markup,    ///< an error page, an SVG
};

/// An image's format and size in pixels, as its header states them. The size is 0 x 0 when the
/// header has none, is cut off, or contradicts itself. For a GIF it is large enough for each of
/// its frames, and 0 x 0 when they have more than kMaxImagePixels together.
struct ImageHeader {
    ImageFormat format = ImageFormat::Unknown;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The largest file that is given to a decoder, in bytes: what the largest image takes unpacked.
inline constexpr std::size_t kMaxImageBytes = 256 << 20;

/// The largest image that is given to a decoder: 64 megapixels (8192 x 8192).
inline constexpr std::uint64_t kMaxImagePixels = 64ULL * 1024 * 1024;

/// Reads the header of a whole image file in memory. Any bytes are safe, also none.
/// Sources: the JPEG (ITU-T T.81), PNG (ISO 15948), GIF89a, Windows and OS/2 bitmap, TIFF 6.0 and
/// WebP (RFC 9649) formats.
ImageHeader ReadImageHeader(std::span<const std::uint8_t> file);

/// Whether a picture of so many pixels may be made or decoded: not empty, at most kMaxImagePixels.
/// GDI+ makes larger bitmaps and faults when they are filled.
constexpr bool IsSafeSize(std::int64_t width, std::int64_t height) {
    return width > 0 && height > 0 && height <= static_cast<std::int64_t>(kMaxImagePixels) / width;
}

/// Whether GDI+ may see the image: a format that GDI+ decodes, a size that is not zero and at
/// most kMaxImagePixels. GDI+ decoders crash on the header of a 27000 x 27000 JPEG.
bool IsSafeToDecode(const ImageHeader& header);

/// Whether a decoder plug-in may see the image: of a safe size, or of a format whose size is not
/// read here, so that the plug-in's word for it is checked.
bool IsSafeToPlugIn(const ImageHeader& header);

}  // namespace Terrascope

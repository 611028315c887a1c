#include "terrascope/tiles/ImageHeader.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Terrascope {

namespace {

/// Bounded reads at any offset: past the end every byte is 0 and Has is false.
class Bytes {
public:
    explicit Bytes(std::span<const std::uint8_t> data) : m_data(data) {}

    std::size_t Size() const { return m_data.size(); }
    bool Has(std::size_t offset, std::size_t count) const {
        return offset <= m_data.size() && count <= m_data.size() - offset;
    }
    std::uint32_t At(std::size_t offset) const {
        return offset < m_data.size() ? m_data[offset] : 0U;
    }
    std::uint32_t Big16(std::size_t offset) const { return At(offset) << 8 | At(offset + 1); }
    std::uint32_t Big32(std::size_t offset) const {
        return Big16(offset) << 16 | Big16(offset + 2);
    }
    std::uint32_t Little16(std::size_t offset) const { return At(offset + 1) << 8 | At(offset); }
    std::uint32_t Little32(std::size_t offset) const {
        return Little16(offset + 2) << 16 | Little16(offset);
    }
    bool Matches(std::size_t offset, std::string_view text) const {
        return Has(offset, text.size()) &&
               std::equal(text.begin(), text.end(),
                          m_data.begin() + static_cast<std::ptrdiff_t>(offset),
                          [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
    }

private:
    std::span<const std::uint8_t> m_data;
};

struct Size {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The size in the first frame header. Segments before it may be many and long (an APP segment
/// holds up to 64 KB); bytes between segments are skipped, as decoders do.
Size JpegSize(const Bytes& file) {
    std::size_t at = 2;
    while (at < file.Size()) {
        if (file.At(at) != 0xFF) {
            ++at;
            continue;
        }
        const std::uint32_t marker = file.At(at + 1);
        if (marker == 0xFF) {
            ++at;
            continue;
        }
        const bool standsAlone = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (standsAlone) {
            at += 2;
            continue;
        }
        const bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame) {
            return file.Has(at, 9) ? Size{file.Big16(at + 7), file.Big16(at + 5)} : Size{};
        }
        const bool isScanOrEnd = marker == 0xDA || marker == 0xD9;
        const std::uint32_t length = file.Big16(at + 2);
        if (isScanOrEnd || length < 2) {
            return {};
        }
        at += 2 + length;
    }
    return {};
}

Size PngSize(const Bytes& file) {
    constexpr std::uint32_t kLimit = 0x7FFFFFFF;
    if (!file.Matches(12, "IHDR") || !file.Has(16, 8)) {
        return {};
    }
    const Size size{file.Big32(16), file.Big32(20)};
    return size.width > kLimit || size.height > kLimit ? Size{} : size;
}

/// Skips a chain of counted sub-blocks; the offset after its terminator or the file's end.
std::size_t AfterSubBlocks(const Bytes& file, std::size_t at) {
    while (at < file.Size()) {
        const std::uint32_t length = file.At(at);
        at += 1 + length;
        if (length == 0) {
            break;
        }
    }
    return at;
}

std::size_t ColourTableBytes(std::uint32_t flags) {
    return (flags & 0x80U) != 0 ? std::size_t{3} << ((flags & 7U) + 1) : 0;
}

/// Decoders allocate each frame by its own size, which need not lie within the screen's.
Size GifSize(const Bytes& file) {
    if (!file.Has(0, 13)) {
        return {};
    }
    Size size{file.Little16(6), file.Little16(8)};
    if (size.width == 0 || size.height == 0) {
        return {};
    }
    // A decoder may hold all frames at once: together they must not exceed the bound either.
    std::uint64_t pixels = 0;
    std::size_t at = 13 + ColourTableBytes(file.At(10));
    while (at < file.Size()) {
        switch (file.At(at)) {
            case 0x21:
                at = AfterSubBlocks(file, at + 2);
                break;
            case 0x2C:
                size.width = std::max(size.width, file.Little16(at + 5));
                size.height = std::max(size.height, file.Little16(at + 7));
                pixels += std::uint64_t{file.Little16(at + 5)} * file.Little16(at + 7);
                if (pixels > kMaxImagePixels) {
                    return {};
                }
                at = AfterSubBlocks(file, at + 11 + ColourTableBytes(file.At(at + 9)));
                break;
            default:
                return size;
        }
    }
    return size;
}

Size BmpSize(const Bytes& file) {
    constexpr std::uint32_t kCoreHeader = 12;
    constexpr std::uint32_t kSign = 0x80000000U;
    const std::uint32_t header = file.Little32(14);
    if (header == kCoreHeader) {
        return file.Has(18, 4) ? Size{file.Little16(18), file.Little16(20)} : Size{};
    }
    if (header < kCoreHeader || !file.Has(18, 8)) {
        return {};
    }
    Size size{file.Little32(18), file.Little32(22)};
    if ((size.height & kSign) != 0) {
        size.height = 0U - size.height;  // rows from the top down
    }
    return size.width >= kSign || size.height >= kSign ? Size{} : size;
}

Size TiffSize(const Bytes& file, bool bigEndian) {
    const auto word = [&](std::size_t at) {
        return bigEndian ? file.Big16(at) : file.Little16(at);
    };
    const auto dword = [&](std::size_t at) {
        return bigEndian ? file.Big32(at) : file.Little32(at);
    };
    constexpr std::uint32_t kWidthTag = 256;
    constexpr std::uint32_t kHeightTag = 257;
    constexpr std::uint32_t kByteType = 1;
    constexpr std::uint32_t kShortType = 3;
    constexpr std::uint32_t kLongType = 4;
    constexpr std::size_t kEntryBytes = 12;

    const std::size_t directory = dword(4);
    if (!file.Has(directory, 2)) {
        return {};
    }
    Size size;
    const std::uint32_t count = word(directory);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t at = directory + 2 + i * kEntryBytes;
        if (!file.Has(at, kEntryBytes)) {
            break;
        }
        if (word(at) != kWidthTag && word(at) != kHeightTag) {
            continue;
        }
        const std::uint32_t type = word(at + 2);
        if (type != kByteType && type != kShortType && type != kLongType) {
            return {};  // decoders take more types of a number than the format allows here
        }
        const std::uint32_t value = type == kByteType    ? file.At(at + 8)
                                    : type == kShortType ? word(at + 8)
                                                         : dword(at + 8);
        // A repeated tag must not hide a larger size from the check.
        std::uint32_t& side = word(at) == kWidthTag ? size.width : size.height;
        side = std::max(side, value);
    }
    return size;
}

/// The canvas of the extended form, else the size of the one frame, lossy or lossless. The first
/// chunk has it.
Size WebPSize(const Bytes& file) {
    constexpr std::uint32_t kSideMask = 0x3FFF;  // 14 bits
    if (file.Matches(12, "VP8X") && file.Has(20, 10)) {
        return {(file.Little32(24) & 0xFFFFFF) + 1, (file.Little32(26) >> 8) + 1};
    }
    if (file.Matches(12, "VP8L") && file.Has(20, 5) && file.At(20) == 0x2F) {
        const std::uint32_t bits = file.Little32(21);
        return {(bits & kSideMask) + 1, (bits >> 14 & kSideMask) + 1};
    }
    if (file.Matches(12, "VP8 ") && file.Has(20, 10) && file.Matches(23, "\x9D\x01\x2A")) {
        return {file.Little16(26) & kSideMask, file.Little16(28) & kSideMask};
    }
    return {};
}

bool LooksLikeMarkup(const Bytes& file) {
    std::size_t at = file.Matches(0, "\xEF\xBB\xBF") ? 3 : 0;
    while (file.At(at) == ' ' || file.At(at) == '\t' || file.At(at) == '\r' ||
           file.At(at) == '\n') {
        ++at;
    }
    return file.At(at) == '<';
}

ImageFormat FormatOf(const Bytes& file) {
    using namespace std::string_view_literals;
    if (file.Matches(0, "\xFF\xD8"sv)) {
        return ImageFormat::Jpeg;
    }
    if (file.Matches(0, "\x89PNG\r\n\x1A\n"sv)) {
        return ImageFormat::Png;
    }
    if (file.Matches(0, "GIF87a"sv) || file.Matches(0, "GIF89a"sv)) {
        return ImageFormat::Gif;
    }
    if (file.Matches(0, "BM"sv)) {
        return ImageFormat::Bmp;
    }
    if (file.Matches(0, "II*\0"sv) || file.Matches(0, "MM\0*"sv)) {
        return ImageFormat::Tiff;
    }
    if (file.Matches(0, "RIFF"sv) && file.Matches(8, "WEBP"sv)) {
        return ImageFormat::WebP;
    }
    if (file.Matches(4, "ftyp"sv)) {
        return ImageFormat::IsoMedia;
    }
    if (file.Matches(0, "\x1F\x8B"sv)) {
        return ImageFormat::Gzip;
    }
    return LooksLikeMarkup(file) ? ImageFormat::Markup : ImageFormat::Unknown;
}

Size SizeOf(const Bytes& file, ImageFormat format) {
    switch (format) {
        case ImageFormat::Jpeg:
            return JpegSize(file);
        case ImageFormat::Png:
            return PngSize(file);
        case ImageFormat::Gif:
            return GifSize(file);
        case ImageFormat::Bmp:
            return BmpSize(file);
        case ImageFormat::Tiff:
            return TiffSize(file, file.At(0) == 'M');
        case ImageFormat::WebP:
            return WebPSize(file);
        default:
            return {};
    }
}

}  // namespace

ImageHeader ReadImageHeader(std::span<const std::uint8_t> file) {
    const Bytes bytes(file);
    const ImageFormat format = FormatOf(bytes);
    const Size size = SizeOf(bytes, format);
    if (size.width == 0 || size.height == 0) {
        return {format, 0, 0};
    }
    return {format, size.width, size.height};
}

bool IsSafeToDecode(const ImageHeader& header) {
    switch (header.format) {
        case ImageFormat::Jpeg:
        case ImageFormat::Png:
        case ImageFormat::Gif:
        case ImageFormat::Bmp:
        case ImageFormat::Tiff:
            break;
        default:
            return false;
    }
    return IsSafeSize(header.width, header.height);
}

bool IsSafeToPlugIn(const ImageHeader& header) {
    switch (header.format) {
        case ImageFormat::Gzip:
        case ImageFormat::Markup:
            return false;
        case ImageFormat::Unknown:
        case ImageFormat::IsoMedia:
            return true;
        default:
            return IsSafeSize(header.width, header.height);
    }
}

}  // namespace Terrascope

#include "terrascope/tiles/ImageHeader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "tests/fixtures/GuardedBytes.h"

namespace Terrascope {
namespace {

using namespace std::string_literals;
using enum ImageFormat;

std::string Big16(unsigned v) {
    return {static_cast<char>(v >> 8), static_cast<char>(v)};
}
std::string Big32(unsigned v) {
    return Big16(v >> 16) + Big16(v & 0xFFFF);
}
std::string Little16(unsigned v) {
    return {static_cast<char>(v), static_cast<char>(v >> 8)};
}
std::string Little32(unsigned v) {
    return Little16(v & 0xFFFF) + Little16(v >> 16);
}

std::string Segment(char marker, const std::string& body) {
    return std::string{'\xFF', marker} + Big16(static_cast<unsigned>(body.size()) + 2) + body;
}
std::string Frame(char marker, unsigned width, unsigned height) {
    return Segment(marker, "\x08"s + Big16(height) + Big16(width) + "\x01\x01\x11\0"s);
}
std::string AJpeg(const std::string& segments) {
    return "\xFF\xD8"s + segments;
}
std::string APng(unsigned width, unsigned height) {
    return "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"s + Big32(width) + Big32(height) + "\x08\2\0\0\0"s;
}
std::string GifFrame(unsigned width, unsigned height) {
    return "\x2C\0\0\0\0"s + Little16(width) + Little16(height) + "\0\2\1x\0"s;
}
std::string AGif(unsigned width, unsigned height, const std::string& blocks) {
    return "GIF89a"s + Little16(width) + Little16(height) + "\x80\0\0rgbRGB"s + blocks;
}
std::string ABmp(unsigned headerBytes, const std::string& size) {
    return "BM"s + std::string(12, '\0') + Little32(headerBytes) + size + std::string(8, '\0');
}
std::string ATiff(unsigned directory, unsigned width, unsigned height) {
    return "II*\0"s + Little32(directory) + "\2\0\0\1\3\0\1\0\0\0"s + Little32(width) +
           "\1\1\4\0\1\0\0\0"s + Little32(height);
}

std::string AWebP(const char* chunk, const std::string& body) {
    return "RIFF\x20\0\0\0WEBP"s + chunk + Little32(static_cast<unsigned>(body.size())) + body;
}

struct Case {
    const char* name;
    std::string file;
    ImageFormat format = Unknown;
    unsigned width = 0;
    unsigned height = 0;
    bool safe = false;
};

const std::string kExif = Segment('\xE1', std::string(65533, '\xFF'));
const Case kCases[] = {
    {"jpeg", AJpeg(Frame('\xC0', 256, 128)), Jpeg, 256, 128, true},
    {"jpeg progressive behind long segments",
     AJpeg(kExif + kExif + Segment('\xC4', "tables") + "\xFF\xFF"s + Frame('\xC2', 300, 200)), Jpeg,
     300, 200, true},
    {"jpeg with bytes between segments", AJpeg("junk\xFF\0"s + Frame('\xC0', 8, 9)), Jpeg, 8, 9,
     true},
    {"jpeg too large", AJpeg(Frame('\xC0', 27000, 27000)), Jpeg, 27000, 27000},
    {"jpeg without a frame", AJpeg(Segment('\xDA', "scan") + Frame('\xC0', 8, 8)), Jpeg},
    {"jpeg of fill bytes", AJpeg(std::string(100000, '\xFF')), Jpeg},
    {"png", APng(256, 257), Png, 256, 257, true},
    {"png of 64 megapixels", APng(8192, 8192), Png, 8192, 8192, true},
    {"png just above", APng(8192, 8193), Png, 8192, 8193},
    {"png with a negative size", APng(0x80000001, 1), Png},
    {"gif", AGif(16, 9, GifFrame(16, 9) + ";"), Gif, 16, 9, true},
    {"gif with a huge second frame",
     AGif(16, 9, "!\xF9\4\0\0\0\0\0"s + GifFrame(16, 9) + GifFrame(65535, 65535)), Gif},
    {"gif whose frames together are huge", AGif(16, 9, GifFrame(6000, 6000) + GifFrame(6000, 6000)),
     Gif},
    {"bmp", ABmp(40, Little32(7) + Little32(5)), Bmp, 7, 5, true},
    {"bmp from the top down", ABmp(124, Little32(7) + Little32(0U - 5)), Bmp, 7, 5, true},
    {"bmp of OS/2", ABmp(12, Little16(7) + Little16(5)), Bmp, 7, 5, true},
    {"bmp with the lowest height", ABmp(40, Little32(7) + Little32(0x80000000)), Bmp},
    {"tiff", ATiff(8, 640, 480), Tiff, 640, 480, true},
    {"tiff the other way round",
     "MM\0*\0\0\0\x8\0\2\1\0\0\3\0\0\0\1\2\x80\0\0\1\1\0\4\0\0\0\1\0\0\1\xE0"s, Tiff, 640, 480,
     true},
    {"tiff with its directory far away", ATiff(0xFFFFFFFF, 1, 1), Tiff},
    {"tiff whose second width is of a type that only decoders take",
     "II*\0\x8\0\0\0\3\0\0\1\3\0\1\0\0\0\x10\0\0\0\1\1\3\0\1\0\0\0\x10\0\0\0"
     "\0\1\x9\0\1\0\0\0\xFF\xFF\xFF\0"s,
     Tiff},
    {"webp", AWebP("VP8 ", "\x50\0\0\x9D\x01\x2A\x80\x40\x40\0"s), WebP, 128, 64},
    {"webp without loss", AWebP("VP8L", "\x2F\x7F\xC0\x0F\0"s), WebP, 128, 64},
    {"webp extended", AWebP("VP8X", "\0\0\0\0\xFF\xFF\xFF\x3F\0\0"s), WebP, 1 << 24, 64},
    {"webp with another start code", AWebP("VP8 ", "\x50\0\0\x9D\x01\x2B\x80\0\x40\0"s), WebP},
    {"webp cut off", "RIFF\x10\0\0\0WEBPVP8 "s, WebP},
    {"avif", "\0\0\0\x1C\x66typavif"s, IsoMedia},
    {"packed vector tile", "\x1F\x8B\x08"s, Gzip},
    {"error page", "\r\n <!DOCTYPE html>"s, Markup},
    {"nothing", ""},
};

TEST(ImageHeader, TellsFormatSizeAndSafety) {
    for (const Case& c : kCases) {
        const ImageHeader header =
            ReadImageHeader({reinterpret_cast<const std::uint8_t*>(c.file.data()), c.file.size()});
        EXPECT_EQ(c.format, header.format) << c.name;
        EXPECT_EQ(c.width, header.width) << c.name;
        EXPECT_EQ(c.height, header.height) << c.name;
        EXPECT_EQ(c.safe, IsSafeToDecode(header)) << c.name;
    }
}

TEST(ImageHeader, ReadsNothingBeyondACutOrDamagedFile) {
    std::mt19937 random(7);
    TerrascopeTest::GuardedBytes memory(200);
    for (const Case& c : kCases) {
        const std::size_t shown = std::min<std::size_t>(c.file.size(), 200);
        for (std::size_t length = 0; length < shown; ++length) {
            const ImageHeader cut = ReadImageHeader(memory.Put(c.file.substr(0, length)));
            EXPECT_EQ(cut.width == 0, cut.height == 0) << c.name;
        }
        for (int i = 0; i < 500 && shown > 0; ++i) {
            std::string damaged = c.file.substr(0, shown);
            damaged[random() % shown] = static_cast<char>(random());
            damaged[random() % shown] = static_cast<char>(random());
            ReadImageHeader(memory.Put(damaged));
        }
    }
}

}  // namespace
}  // namespace Terrascope

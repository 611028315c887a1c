#include "terrascope/support/ImageHeader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <span>
#include <string>

#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/GdiplusSession.h"
#include "terrascope/support/MemStream.h"

namespace Terrascope {
namespace {

using namespace std::string_literals;

ImageHeader HeaderOf(const std::string& file) {
    return ReadImageHeader({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()});
}

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
    return "\xFF"s + marker + Big16(static_cast<unsigned>(body.size()) + 2) + body;
}
std::string Frame(char marker, unsigned width, unsigned height) {
    return Segment(marker, "\x08"s + Big16(height) + Big16(width) + "\x01\x01\x11\0"s);
}
std::string Jpeg(const std::string& segments) {
    return "\xFF\xD8"s + segments;
}
std::string Png(unsigned width, unsigned height) {
    return "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"s + Big32(width) + Big32(height) + "\x08\2\0\0\0"s;
}
std::string GifFrame(unsigned width, unsigned height) {
    return "\x2C"s + Little32(0) + Little16(width) + Little16(height) + "\0\2\1x\0"s;
}
std::string Gif(unsigned width, unsigned height, const std::string& blocks) {
    return "GIF89a"s + Little16(width) + Little16(height) + "\x80\0\0"s + "rgbRGB" + blocks;
}
std::string Bmp(unsigned headerBytes, const std::string& size) {
    return "BM"s + std::string(12, '\0') + Little32(headerBytes) + size + std::string(8, '\0');
}
std::string TiffLittle(unsigned directory, unsigned width, unsigned height) {
    return "II*\0"s + Little32(directory) + Little16(2) + Little16(256) + Little16(3) +
           Little32(1) + Little32(width) + Little16(257) + Little16(4) + Little32(1) +
           Little32(height);
}
std::string TiffBig(unsigned width, unsigned height) {
    return "MM\0*"s + Big32(8) + Big16(2) + Big16(256) + Big16(3) + Big32(1) + Big16(width) +
           Big16(0) + Big16(257) + Big16(4) + Big32(1) + Big32(height);
}

struct Case {
    const char* name;
    std::string file;
    ImageFormat format;
    unsigned width;
    unsigned height;
    bool safe;
};
void PrintTo(const Case& c, std::ostream* out) {
    *out << c.name;
}

const std::string kExif = Segment('\xE1', std::string(65533, '\xFF'));
const Case kCases[] = {
    {"jpeg", Jpeg(Frame('\xC0', 256, 128)), ImageFormat::Jpeg, 256, 128, true},
    {"jpeg progressive behind long segments",
     Jpeg(kExif + kExif + Segment('\xC4', "tables") + "\xFF\xFF"s + Frame('\xC2', 300, 200)),
     ImageFormat::Jpeg, 300, 200, true},
    {"jpeg with bytes between segments", Jpeg("junk"s + "\xFF\0"s + Frame('\xC0', 8, 9)),
     ImageFormat::Jpeg, 8, 9, true},
    {"jpeg too large to decode", Jpeg(Frame('\xC0', 27000, 27000)), ImageFormat::Jpeg, 27000, 27000,
     false},
    {"jpeg without a frame", Jpeg(Segment('\xDA', "scan") + Frame('\xC0', 8, 8)), ImageFormat::Jpeg,
     0, 0, false},
    {"jpeg without a height", Jpeg(Frame('\xC0', 8, 0)), ImageFormat::Jpeg, 0, 0, false},
    {"jpeg with a segment of no length", Jpeg("\xFF\xE0\0\0"s), ImageFormat::Jpeg, 0, 0, false},
    {"jpeg of fill bytes", Jpeg(std::string(100000, '\xFF')), ImageFormat::Jpeg, 0, 0, false},
    {"png", Png(256, 257), ImageFormat::Png, 256, 257, true},
    {"png of 64 megapixels", Png(8192, 8192), ImageFormat::Png, 8192, 8192, true},
    {"png just above", Png(8192, 8193), ImageFormat::Png, 8192, 8193, false},
    {"png whose area wraps", Png(0x7FFFFFFF, 0x7FFFFFFF), ImageFormat::Png, 0x7FFFFFFF, 0x7FFFFFFF,
     false},
    {"png with a negative size", Png(0x80000001, 1), ImageFormat::Png, 0, 0, false},
    {"gif", Gif(16, 9, GifFrame(16, 9) + ";"), ImageFormat::Gif, 16, 9, true},
    {"gif with a huge second frame",
     Gif(16, 9, "!\xF9\4\0\0\0\0\0"s + GifFrame(16, 9) + GifFrame(65535, 65535)), ImageFormat::Gif,
     65535, 65535, false},
    {"bmp", Bmp(40, Little32(7) + Little32(5)), ImageFormat::Bmp, 7, 5, true},
    {"bmp from the top down", Bmp(124, Little32(7) + Little32(0U - 5)), ImageFormat::Bmp, 7, 5,
     true},
    {"bmp of OS/2", Bmp(12, Little16(7) + Little16(5)), ImageFormat::Bmp, 7, 5, true},
    {"bmp with the lowest height", Bmp(40, Little32(7) + Little32(0x80000000)), ImageFormat::Bmp, 0,
     0, false},
    {"bmp with a negative width", Bmp(40, Little32(0U - 7) + Little32(5)), ImageFormat::Bmp, 0, 0,
     false},
    {"tiff", TiffLittle(8, 640, 480), ImageFormat::Tiff, 640, 480, true},
    {"tiff the other way round", TiffBig(640, 480), ImageFormat::Tiff, 640, 480, true},
    {"tiff with its directory far away", TiffLittle(0xFFFFFFFF, 1, 1), ImageFormat::Tiff, 0, 0,
     false},
    {"webp", "RIFF\x10\0\0\0WEBPVP8 "s, ImageFormat::WebP, 0, 0, false},
    {"avif",
     "\0\0\0\x1C"
     "ftypavif"s,
     ImageFormat::IsoMedia, 0, 0, false},
    {"packed vector tile", "\x1F\x8B\x08"s, ImageFormat::Gzip, 0, 0, false},
    {"error page", "\r\n <!DOCTYPE html>"s, ImageFormat::Markup, 0, 0, false},
    {"nothing", "", ImageFormat::Unknown, 0, 0, false},
    {"text", "no such tile", ImageFormat::Unknown, 0, 0, false},
};

class ImageHeaderCases : public testing::TestWithParam<Case> {};

TEST_P(ImageHeaderCases, TellsFormatSizeAndSafety) {
    const Case& c = GetParam();
    const ImageHeader header = HeaderOf(c.file);
    EXPECT_EQ(header.format, c.format);
    EXPECT_EQ(header.width, c.width);
    EXPECT_EQ(header.height, c.height);
    EXPECT_EQ(IsSafeToDecode(header), c.safe);
}
INSTANTIATE_TEST_SUITE_P(ImageHeader, ImageHeaderCases, testing::ValuesIn(kCases));

/// Bytes that end where the next page may not be read: one byte too far ends the test program.
class GuardedBytes {
public:
    GuardedBytes() {
        DWORD before = 0;
        EXPECT_TRUE(::VirtualProtect(m_pages + kPage, kPage, PAGE_NOACCESS, &before));
    }
    ~GuardedBytes() { ::VirtualFree(m_pages, 0, MEM_RELEASE); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    std::span<const std::uint8_t> Put(const std::string& bytes) {
        std::uint8_t* start = m_pages + kPage - bytes.size();
        std::copy(bytes.begin(), bytes.end(), start);
        return {start, bytes.size()};
    }

private:
    static constexpr std::size_t kPage = 4096;
    std::uint8_t* const m_pages = static_cast<std::uint8_t*>(
        ::VirtualAlloc(nullptr, 2 * kPage, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
};

TEST(ImageHeader, ReadsNothingBeyondACutOrDamagedFile) {
    std::mt19937 random(7);
    GuardedBytes memory;
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

TEST(ImageHeader, AgreesWithTheDecoder) {
    const CGdiplusSession session;
    ASSERT_TRUE(session.IsStarted());
    struct {
        unsigned long encoder;
        ImageFormat format;
    } const cases[] = {{0x557CF400, ImageFormat::Bmp},
                       {0x557CF401, ImageFormat::Jpeg},
                       {0x557CF405, ImageFormat::Tiff},
                       {0x557CF406, ImageFormat::Png}};
    for (const auto& c : cases) {
        const CLSID encoder = {
            c.encoder, 0x1A04, 0x11D3, {0x9A, 0x73, 0, 0, 0xF8, 0x1E, 0xF3, 0x2E}};
        IStream* target = nullptr;
        ASSERT_EQ(::CreateStreamOnHGlobal(nullptr, TRUE, &target), S_OK);
        Gdiplus::Bitmap drawn(37, 21, PixelFormat24bppRGB);
        ASSERT_EQ(drawn.Save(target, &encoder, nullptr), Gdiplus::Ok);
        STATSTG stat{};
        HGLOBAL block = nullptr;
        target->Stat(&stat, STATFLAG_NONAME);
        ::GetHGlobalFromStream(target, &block);
        CMemStream file(::GlobalLock(block), stat.cbSize.LowPart);
        ::GlobalUnlock(block);
        target->Release();

        const ImageHeader header =
            ReadImageHeader({file.GetBuffer(), static_cast<std::size_t>(file.GetLength())});
        EXPECT_EQ(header.format, c.format);
        EXPECT_TRUE(IsSafeToDecode(header));
        Gdiplus::Bitmap decoded(file.GetIStream());
        EXPECT_EQ(decoded.GetLastStatus(), Gdiplus::Ok);
        EXPECT_EQ(decoded.GetWidth(), header.width);
        EXPECT_EQ(decoded.GetHeight(), header.height);
    }
}

TEST(GdiplusSession, CountsUntilTheLastOneEnds) {
    EXPECT_EQ(CGdiplusSession::LiveCount(), 0);
    {
        const CGdiplusSession outer;
        {
            const CGdiplusSession inner;
            EXPECT_EQ(CGdiplusSession::LiveCount(), 2);
        }
        EXPECT_EQ(CGdiplusSession::LiveCount(), 1);
    }
    EXPECT_EQ(CGdiplusSession::LiveCount(), 0);
}

}  // namespace
}  // namespace Terrascope

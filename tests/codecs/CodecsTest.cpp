// The decoders of TerrascopeCodecs.dll behind the road of a tile, against GDI+ on the same files.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

#include "terrascope/tiles/ImageDecoding.h"
#include "tests/display/DisplayFixture.h"
#include "tests/fixtures/GuardedBytes.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;
using namespace std::string_literals;

const CSize kSize(131, 97);  // of each picture

/// One of make-pictures.sh.
std::string Picture(const std::string& name) {
    std::ifstream file("pictures/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Big32(unsigned long value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

/// A PNG file with a chunk more before its pixels.
std::string WithChunk(std::string png, const std::string& type, const std::string& body) {
    const std::string checked = type + body;
    const auto checksum = ::crc32(0, reinterpret_cast<const Bytef*>(checked.data()),
                                  static_cast<uInt>(checked.size()));
    return png.insert(png.find("IDAT") - 4,
                      Big32(static_cast<unsigned long>(body.size())) + checked + Big32(checksum));
}

std::string Replaced(std::string file, const std::string& from, const std::string& to) {
    const auto at = file.find(from);
    EXPECT_NE(std::string::npos, at);
    return file.replace(at, from.size(), to);
}

std::span<const std::uint8_t> BytesOf(const std::string& file) {
    return {reinterpret_cast<const std::uint8_t*>(file.data()), file.size()};
}

class Codecs : public Display {
protected:
    Codecs() {
        library.AddDecoder("TerrascopeCodecs.dll");
        decoders = CImageDecoders::Installed();
    }
    bool Takes(const std::string& file) const {
        return decoders->Decode(BytesOf(file), ReadImageHeader(BytesOf(file))) != nullptr;
    }

    std::shared_ptr<const CImageDecoders> decoders;
};

/// The largest difference of a component; 256 where only one is there or the sizes differ.
int Difference(const CTilePicture* a, const CTilePicture* b) {
    if (a == nullptr || b == nullptr || a->Size() != b->Size()) {
        return a == b ? 0 : 256;
    }
    int largest = 0;
    for (std::size_t i = 0; i < a->PixelCount(); ++i) {
        for (int shift = 0; shift < 32; shift += 8) {
            const int one = static_cast<int>(a->Row(0)[i] >> shift & 0xFF);
            const int other = static_cast<int>(b->Row(0)[i] >> shift & 0xFF);
            largest = std::max(largest, std::abs(one - other));
        }
    }
    return largest;
}

TEST_F(Codecs, ShowThePicturesOfGdiplus) {
    std::vector<std::pair<std::string, std::string>> files;
    for (const char* name :
         {"whole.jpg",   "halved.jpg", "coarse.jpg", "fine.jpg",       "progressive.jpg",
          "grey.jpg",    "cmyk.jpg",   "rgb.png",    "interlaced.png", "rgb16.png",
          "rgba.png",    "rgba16.png", "greya.png",  "grey.png",       "grey16.png",
          "grey1.png",   "grey2.png",  "grey4.png",  "palette.png",    "palette4.png",
          "palettea.png"}) {
        files.emplace_back(name, Picture(name));
    }
    // A colour that is transparent, and gamma.
    for (const auto& [name, colour] :
         {std::pair("grey.png", "\0\x80"s), std::pair("grey1.png", "\0\1"s),
          std::pair("grey4.png", "\0\7"s), std::pair("grey16.png", "\x80\x80"s),
          std::pair("rgb.png", "\0\x80\0\x80\0\x80"s)}) {
        files.emplace_back(name + " and a colour"s, WithChunk(Picture(name), "tRNS", colour));
    }
    for (const char* name : {"rgb.png", "grey.png", "rgba.png", "palette.png", "rgb16.png"}) {
        files.emplace_back(name + " and gamma"s, WithChunk(Picture(name), "gAMA", Big32(100000)));
    }
    for (const auto& [name, file] : files) {
        const int most = name.find(".jpg") != std::string::npos ? 1 : 0;
        EXPECT_TRUE(Takes(file)) << name;
        for (const CSize tile : {kSize, CSize(64, 64), CSize(256, 256)}) {
            const DecodedImage ours = DecodeImage(BytesOf(file), tile, decoders.get());
            const DecodedImage theirs = DecodeImage(BytesOf(file), tile);
            ASSERT_NE(nullptr, theirs.picture) << name;
            EXPECT_GE(most, Difference(ours.picture.get(), theirs.picture.get()))
                << name << " " << tile.cx;
            EXPECT_GE(most, Difference(ours.translucent.get(), theirs.translucent.get()))
                << name << " " << tile.cx;
        }
    }
}

TEST_F(Codecs, ShowWebPAsItIs) {
    for (const std::string name : {"lossy", "lossless", "lossya", "losslessa"}) {
        const std::string file = Picture(name + ".webp");
        const DecodedImage ours = DecodeImage(BytesOf(file), kSize, decoders.get());
        const DecodedImage pixels = DecodeImage(BytesOf(Picture(name + ".png")), kSize);
        EXPECT_EQ(0, Difference(ours.picture.get(), pixels.picture.get())) << name;
        EXPECT_EQ(0, Difference(ours.translucent.get(), pixels.translucent.get())) << name;
        EXPECT_EQ(name.back() == 'a', ours.translucent != nullptr) << name;
        EXPECT_NE(nullptr, DecodeImage(BytesOf(file), kSize).failure) << "without decoders";
    }
}

// What GDI+ would show otherwise, and what has a fault, is left to it.
TEST_F(Codecs, LeaveTheRareKindsToGdiplus) {
    const std::string halved = Picture("halved.jpg");
    const std::pair<const char*, std::string> cases[] = {
        {"halved in width only", Replaced(halved, "\1\x22\0"s, "\1\x21\0"s)},
        {"inks of unknown sense", Replaced(Picture("cmyk.jpg"), "Adobe", "Other")},
        {"a colour space of its own",
         Replaced(halved, "\1\x22\0\2\x11\1\3\x11\1"s, "R\x22\0G\x11\1B\x11\1"s)},
        {"cut jpeg", halved.substr(0, halved.size() / 2)},
        {"cut png", Picture("rgb.png").substr(0, 20000)},
        {"a wrong checksum", Replaced(Picture("rgb.png"), "IEND\xAE", "IEND\xAF")},
        {"another format", "GIF89a"s + std::string(100, '\0')},
    };
    for (const auto& [name, file] : cases) {
        EXPECT_FALSE(Takes(file)) << name;
    }
}

/// A JPEG of 16 x 16 pixels with halved chroma, of whose three components one has data at all.
std::string JpegWithoutChroma() {
    std::string file;
    const auto add = [&file](std::initializer_list<int> bytes) {
        for (const int byte : bytes) {
            file += static_cast<char>(byte);
        }
    };
    add({0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0});  // the table of quantities: 64 ones
    file.append(64, 1);
    add({0xFF, 0xC0, 0, 17, 8, 0, 16, 0, 16, 3, 1, 0x22, 0, 2, 0x11, 0, 3, 0x11, 0});
    for (const int table : {0x00, 0x10}) {  // Huffman tables with one code, of length 1, for 0
        add({0xFF, 0xC4, 0, 20, table, 1});
        file.append(16, 0);
    }
    add({0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0, 0x00, 0xFF, 0xD9});
    return file;
}

TEST_F(Codecs, SurviveCutAndDamagedFiles) {
    std::mt19937 random(11);
    const std::size_t rowBytes = static_cast<std::size_t>(kSize.cx) * 4;
    const std::size_t pictureBytes = rowBytes * static_cast<std::size_t>(kSize.cy);
    GuardedBytes memory(100000);
    GuardedBytes pixels(pictureBytes);
    const HMODULE codecs = ::GetModuleHandleA("TerrascopeCodecs.dll");
    const auto decode = reinterpret_cast<TerrascopeDecodeImageFunction>(
        reinterpret_cast<void*>(::GetProcAddress(codecs, "TerrascopeDecodeImage")));
    ASSERT_NE(nullptr, decode);
    int decoded = 0;
    const auto show = [&](const std::string& file) {
        const auto bytes = memory.Put(file);
        const DecodedImage image = DecodeImage(bytes, kSize, decoders.get());
        EXPECT_EQ(image.picture == nullptr, image.failure != nullptr);
        decoded += image.picture != nullptr ? 1 : 0;
        const TerrascopeImageRows rows{pixels.Last(pictureBytes).data(), pictureBytes, rowBytes,
                                       static_cast<std::uint32_t>(kSize.cx),
                                       static_cast<std::uint32_t>(kSize.cy)};
        decode(bytes.data(), bytes.size(), &rows);
    };
    show(JpegWithoutChroma());
    for (const std::string name :
         {"whole.jpg", "halved.jpg", "progressive.jpg", "cmyk.jpg", "rgba.png", "interlaced.png",
          "palettea.png", "grey2.png", "lossy.webp", "lossless.webp", "lossya.webp",
          "losslessa.webp"}) {
        const std::string file = Picture(name);
        for (std::size_t part = 0; part < 64; ++part) {
            show(file.substr(0, file.size() * part / 64));
        }
        for (int i = 0; i < 500; ++i) {
            std::string damaged = file;
            // Headers more often than their size would have it.
            const std::size_t reach = i % 2 == 0 ? damaged.size() : damaged.size() / 16 + 30;
            for (unsigned hits = random() % 4 + 1; hits > 0; --hits) {
                damaged[random() % reach] = static_cast<char>(random());
            }
            show(damaged);
        }
    }
    EXPECT_LT(1000, decoded) << "damage that no decoder gets to see";
}

TEST_F(Codecs, ServeTwoDisplaysOnEightThreads) {
    const auto load = [&](const std::string& lines, const std::string& picture) {
        Load("FAST=1\r\nTHREADS=4\r\n" + lines);
        const std::string file = Picture(picture);
        script->SetFile({file.begin(), file.end()});
    };
    ScriptedMap map = WorldMap();
    map.tileWidth = kSize.cx;
    map.tileHeight = kSize.cy;
    load("", "losslessa.png");
    MakeDisplay({1200, 900});
    Show(4, map);
    const auto expected = Paint();
    EXPECT_LT(100, std::count_if(expected.begin(), expected.end(),
                                 [](std::uint32_t pixel) { return pixel != kWaitingGrey; }));
    display.reset();

    load("CODECS=1\r\n", "losslessa.webp");
    MakeDisplay({1200, 900});
    Open(4, map);
    auto first = std::move(display);
    MakeDisplay({1200, 900});
    Show(4, map);
    EXPECT_EQ(expected, Paint());
    display = std::move(first);
    EXPECT_EQ(expected, Paint());
}

}  // namespace
}  // namespace TerrascopeTest

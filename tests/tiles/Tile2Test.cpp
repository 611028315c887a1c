#include "terrascope/tiles/Tile2.h"

#include <gtest/gtest.h>
#include <shlwapi.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "terrascope/support/ComRef.h"
#include "terrascope/support/GdiPlus.h"
#include "terrascope/support/GdiplusSession.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"

namespace Terrascope {
namespace {

constexpr std::uint32_t kGrey = 0xFFC8C8C8;
constexpr std::uint32_t kRed = 0xFFFF0000;
constexpr std::uint32_t kBlue = 0xFF0000FF;

/// A picture of one colour, but for what `other` says is blue.
template <class Other>
std::vector<std::uint8_t> Picture(int width, int height, Other other) {
    return TerrascopeTest::MakeBitmapFile(
        width, height, [&](int x, int y) { return other(x, y) ? RGB(0, 0, 255) : RGB(255, 0, 0); });
}

std::vector<std::uint8_t> Red(int width, int height) {
    return Picture(width, height, [](int, int) { return false; });
}

/// A canvas over pixels of its own, with a tile that is painted there.
struct Surface {
    Surface(int w, int h) : width(w), height(h), pixels(static_cast<std::size_t>(w * h), 0) {}
    Surface(int w, int h, CTile2& tile, CPointF corner = {-180, 90}) : Surface(w, h) {
        CTileCanvas canvas = Canvas();
        tile.Draw(canvas, corner);
    }

    CTileCanvas Canvas() { return {{pixels.data(), width, height, width}, painted}; }
    std::uint32_t At(int x, int y) { return Pixels()[static_cast<std::size_t>(y * width + x)]; }
    const std::vector<std::uint32_t>& Pixels() {
        Canvas().Settle(CRect(0, 0, width, height));
        return pixels;
    }

    int width;
    int height;
    std::vector<std::uint32_t> pixels;
    CPaintedArea painted;
};

class Tile2 : public testing::Test {
protected:
    Tile2() {
        map.nFirstLayer = 1;
        map.nLayerCount = 3;
        map.dLongitudeStart = -180;
        map.dLatitudeStart = -90;
        map.dLongitude = 360;
        map.dLatitude = 180;
        map.nTileWidth = 16;
        map.nTileHeight = 8;
    }

    CTileLayer2 Layer(int number, double factor = 1.0) const {
        tagTILE_MAP_LAYER_INFO info;
        info.nLayerNumber = number;
        info.nTileCountX = 1 << number;
        info.nTileCountY = 1 << number;
        info.dZoomFactor = factor;
        return {map, info};
    }

    std::vector<std::unique_ptr<CTile2>> Children(const CTile2& tile, int layer) const {
        std::vector<std::unique_ptr<CTile2>> children;
        for (CTile2* child : tile.Split(Layer(layer))) {
            children.emplace_back(child);
        }
        return children;
    }

    static tagTILE_IMAGE* Image(const std::vector<std::uint8_t>& bytes, std::uint32_t column = 0,
                                std::uint32_t row = 0) {
        auto* image = new tagTILE_IMAGE;
        image->nColumn = column;
        image->nRow = row;
        image->stream.Write(bytes.data(), static_cast<UINT>(bytes.size()));
        return image;
    }

    CGdiplusSession session;
    tagTILE_MAP_INFO map;
};

TEST_F(Tile2, PaintsItsPlaceholderAtItsPlaceAndClipsIt) {
    CTile2 tile(map, Layer(1), "3", nullptr);
    Surface surface(24, 12, tile);
    EXPECT_EQ(kGrey, surface.At(16, 8));
    EXPECT_EQ(kGrey, surface.At(23, 11));
    EXPECT_EQ(0U, surface.At(15, 8));
    EXPECT_EQ(0U, surface.At(16, 7));
    EXPECT_EQ(CRect(16, 8, 32, 16), tile.PlaceOn({-180, 90}));
}

// GDI+ would show it.
TEST_F(Tile2, KeepsItsPictureWhenTheImageIsTooLargeToBeDecoded) {
    const BITMAPINFOHEADER header{sizeof(header), 8192, 8193, 1, 1, BI_RGB, 0, 0, 0, 0, 0};
    auto image = Red(1, 1);
    image.resize(image.size() + 8192 / 8 * 8193 + 8);
    std::memcpy(image.data() + sizeof(BITMAPFILEHEADER), &header, sizeof(header));
    CTile2 tile(map, Layer(1), "0", nullptr);
    tile.SetImage(Image(image));
    EXPECT_EQ(kGrey, Surface(16, 8, tile).At(8, 4));
}

// A layer of so large tiles is no layer that anybody has: no memory is taken for their pictures.
TEST_F(Tile2, HasNoPictureBeyondTheSizeThatImagesMayHave) {
    for (const double factor : {8192.0, 4096.0, 2000.0, 1e9, -1.0}) {
        CTile2 tile(map, Layer(1, factor), "0", nullptr);
        EXPECT_EQ(nullptr, tile.Picture()) << factor;
        tile.SetImage(Image(Red(16, 8)));
        EXPECT_EQ(0U, Surface(16, 8, tile).At(8, 4)) << factor;
    }
}

/// The first numbers of the class ids of GDI+'s encoders; the rest is the same.
enum Encoder : unsigned long { Bmp = 0x557CF400, Jpeg, Gif, Tiff = 0x557CF405, Png };

std::vector<std::uint8_t> Encoded(Encoder encoder, CSize size = {48, 40},
                                  Gdiplus::PixelFormat format = PixelFormat24bppRGB) {
    Gdiplus::Bitmap picture(size.cx, size.cy, format);
    for (int i = 0; i < size.cx * size.cy; ++i) {
        const int x = i % size.cx, y = i / size.cx;
        const BYTE alpha = format == PixelFormat32bppARGB ? BYTE(x * 17 + y * 31) : 255;
        picture.SetPixel(x, y, Gdiplus::Color(alpha, BYTE(x * 5), BYTE(y * 6), BYTE(x * y)));
    }
    const CLSID codec{encoder, 0x1A04, 0x11D3, {0x9A, 0x73, 0, 0, 0xF8, 0x1E, 0xF3, 0x2E}};
    const CComRef<IStream> stream(::SHCreateMemStream(nullptr, 0));
    EXPECT_EQ(Gdiplus::Ok, picture.Save(stream.Get(), &codec, nullptr));
    std::vector<std::uint8_t> file(1 << 20);
    ULONG length = 0;
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    stream->Read(file.data(), static_cast<ULONG>(file.size()), &length);
    file.resize(length);
    return file;
}

// Decoders seek where a damaged header sends them. What they do with the pixels is theirs, but an
// image that is refused leaves the tile its picture.
TEST_F(Tile2, SurvivesEveryCutAndManyDamagesOfEachFormat) {
    std::mt19937 random(2000);
    int refused = 0;
    const auto show = [&](const std::vector<std::uint8_t>& bytes) {
        CTile2 tile(map, Layer(1), "0", nullptr);
        tile.SetImage(Image(bytes));
        Surface surface(16, 8, tile);
        if (tile.TakeFailure() != nullptr) {
            ++refused;
            ASSERT_EQ(std::vector<std::uint32_t>(16 * 8, kGrey), surface.Pixels());
        }
    };
    for (const Encoder encoder : {Bmp, Jpeg, Tiff, Png}) {
        const auto whole = Encoded(encoder);
        ASSERT_LT(100U, whole.size());
        for (std::size_t part = 0; part < 64; ++part) {
            show({whole.begin(), whole.begin() + std::ptrdiff_t(whole.size() * part / 64)});
        }
        for (int i = 0; i < 2000; ++i) {
            auto damaged = whole;
            const auto length = i % 2 == 0 ? whole.size() : std::min<std::size_t>(64, whole.size());
            for (int byte = 0; byte <= i % 5; ++byte) {
                damaged[random() % length] = static_cast<std::uint8_t>(random());
            }
            show(damaged);
        }
    }
    EXPECT_LT(100, refused);
}

/// What GDI+ itself makes of an image over a colour, in the way in which tiles are stretched.
std::vector<std::uint32_t> DrawnByGdiplus(const std::vector<std::uint8_t>& file, CSize size,
                                          std::uint32_t ground) {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(size.cx * size.cy), ground);
    const CComRef<IStream> stream(::SHCreateMemStream(file.data(), static_cast<UINT>(file.size())));
    Gdiplus::Bitmap image(stream.Get());
    Gdiplus::Bitmap surface(size.cx, size.cy, size.cx * 4, PixelFormat32bppARGB,
                            reinterpret_cast<BYTE*>(pixels.data()));
    const int width = static_cast<int>(image.GetWidth());
    const int height = static_cast<int>(image.GetHeight());
    const Gdiplus::Rect to(0, 0, size.cx + (width != size.cx), size.cy + (height != size.cy));
    Gdiplus::Graphics(&surface).DrawImage(&image, to, 0, 0, width, height, Gdiplus::UnitPixel);
    return pixels;
}

// Most images are decoded without drawing them, ahead of the tile that will show them.
TEST_F(Tile2, ShowsAnImageAsGdiPlusDrawsItOverWhatTheTileShowed) {
    CTile2 parent(map, Layer(1), "0", nullptr);
    parent.SetImage(Image(Red(16, 8)));
    Surface(16, 8, parent);
    const std::tuple<Encoder, CSize, Gdiplus::PixelFormat> images[] = {
        {Jpeg, {16, 8}, PixelFormat24bppRGB}, {Jpeg, {48, 40}, PixelFormat24bppRGB},
        {Bmp, {15, 8}, PixelFormat24bppRGB},  {Png, {16, 8}, PixelFormat32bppARGB},
        {Png, {7, 11}, PixelFormat32bppARGB}, {Png, {16, 9}, PixelFormat32bppARGB},
        {Png, {48, 40}, PixelFormat24bppRGB},
    };
    for (const auto& [encoder, size, format] : images) {
        const auto file = Encoded(encoder, size, format);
        for (const bool inherits : {false, true}) {
            const auto drawn = DrawnByGdiplus(file, {16, 8}, inherits ? kRed : kGrey);
            for (const bool ahead : {false, true}) {
                const auto children = Children(parent, 2);
                CTile2 grey(map, Layer(2), "00", nullptr);
                CTile2& tile = inherits ? *children[0] : grey;
                if (ahead) {
                    tile.SetDecodedImage(Image({}), DecodeImage(file, {16, 8}));
                } else {
                    tile.SetImage(Image(file));
                }
                Surface surface(16, 8, tile, tile.TopLeft());
                int largest = 0;
                for (std::size_t i = 0; i < drawn.size(); ++i) {
                    for (const int shift : {0, 8, 16, 24}) {
                        const int wanted = static_cast<int>(drawn[i] >> shift & 0xFF);
                        const int shown = static_cast<int>(surface.Pixels()[i] >> shift & 0xFF);
                        largest = std::max(largest, std::abs(wanted - shown));
                    }
                }
                // What is blended without GDI+ is rounded in another way.
                EXPECT_LE(largest, inherits && format == PixelFormat32bppARGB ? 1 : 0)
                    << size.cx << " x " << size.cy << inherits << ahead;
            }
        }
    }
}

// A zoom prepares many tiles that nobody ever sees.
TEST_F(Tile2, MakesNoPictureBeforeItIsPainted) {
    const auto pictures = [] { return CLiveCount<CTilePicture>::Live(); };
    CTile2 tile(map, Layer(1), "0", nullptr);
    Surface(16, 8, tile);
    EXPECT_EQ(0, pictures()) << "grey is no picture";
    tile.SetImage(Image(Red(16, 8)));
    Surface(16, 8, tile);
    EXPECT_EQ(1, pictures());
    const auto children = Children(tile, 2);
    const auto grandchildren = Children(*children[3], 3);
    const CTile2 merged(*grandchildren[0], *grandchildren[1], *grandchildren[2], *grandchildren[3],
                        Layer(2));
    EXPECT_EQ(1, pictures());
    EXPECT_EQ(kRed, Surface(16, 8, *grandchildren[2], grandchildren[2]->TopLeft()).At(8, 4));
    EXPECT_EQ(3, pictures()) << "its own, and its parent's, of which it shows a part";
}

// The children are smaller than the parent's source rectangle: beyond them nothing is drawn.
TEST_F(Tile2, AMergeOfSmallerTilesLeavesGreyWhatTheyDoNotReach) {
    std::vector<std::unique_ptr<CTile2>> children;
    for (const char* key : {"10", "11", "12", "13"}) {
        children.push_back(std::make_unique<CTile2>(map, Layer(2), key, nullptr));
        children.back()->SetImage(Image(Red(16, 8)));
        Surface(16, 8, *children.back());
    }
    // 24 x 12 pixels; each child of 16 x 8 goes into 8 x 4 from a source of 24 x 12: every third.
    CTile2 merged(*children[0], *children[1], *children[2], *children[3], Layer(1, 1.5));
    Surface whole(24, 12, merged, merged.TopLeft());
    for (int y = 0; y < 12; ++y) {
        for (int x = 0; x < 24; ++x) {
            EXPECT_EQ(x % 12 < 6 && y % 6 < 3 ? kRed : kGrey, whole.At(x, y)) << x << "," << y;
        }
    }
}

TEST_F(Tile2, ASplitAndAMergeInheritThePicture) {
    CTile2 parent(map, Layer(2), "12", nullptr);
    parent.SetImage(Image(Picture(16, 8, [](int x, int y) { return x >= 8 && y >= 4; }), 2, 1));
    Surface(16, 8, parent);

    const auto children = Children(parent, 3);
    ASSERT_EQ(4U, children.size());
    const char* keys[] = {"120", "121", "122", "123"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(CString(keys[i]), children[i]->Key());
        Surface quarter(16, 8, *children[i], children[i]->TopLeft());
        EXPECT_EQ(i == 3 ? kBlue : kRed, quarter.At(4, 4));
    }
    EXPECT_THROW(children[0]->Split(Layer(4)), std::logic_error);

    CTile2 merged(*children[0], *children[1], *children[2], *children[3], Layer(2));
    EXPECT_EQ(CString("12"), merged.Key());
    EXPECT_EQ(parent.TopLeft(), merged.TopLeft());
    Surface whole(16, 8, merged, merged.TopLeft());
    EXPECT_EQ(kRed, whole.At(2, 2));
    EXPECT_EQ(kBlue, whole.At(12, 6));
}

TEST_F(Tile2, KeepsTrueDistancesWhenTheFactorLeavesAFraction) {
    // 16 x 0.7 = 11.2: tiles are 11 pixels wide, and every fifth place is a pixel further.
    const CTileLayer2 layer = Layer(3, 0.7);
    EXPECT_EQ(11, layer.nTileWidth);
    for (const auto& [key, left] : {std::pair{"000", 0}, {"011", 33}, {"100", 44}, {"101", 56}}) {
        EXPECT_EQ(left, CTile2(map, layer, key, nullptr).PlaceOn({-180, 90}).left) << key;
    }
}

TEST_F(Tile2, OfAKeyThatIsNoneIsPaintedWhereTheValidPartSays) {
    CTile2 odd(map, Layer(2), "1x", nullptr);
    EXPECT_EQ(0, odd.GetLogicalRect().width);
    EXPECT_EQ(CPointF(0, 0), odd.TopLeft());
    EXPECT_EQ(32, odd.PlaceOn({-180, 90}).left);
}

}  // namespace
}  // namespace Terrascope

#include "terrascope/tiles/Tile2.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <vector>

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

/// A canvas over pixels of its own.
struct Surface {
    Surface(int w, int h) : width(w), height(h), pixels(static_cast<std::size_t>(w * h), 0) {}

    CTileCanvas Canvas(const PaintMark& corner = {1, 0, 0}) {
        return {{pixels.data(), width, height, width}, corner};
    }
    std::uint32_t At(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }

    int width;
    int height;
    std::vector<std::uint32_t> pixels;
};

class Tile2 : public testing::Test {
protected:
    Tile2() {
        map.strName = "map";
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
    Surface surface(24, 12);
    CTileCanvas canvas = surface.Canvas();
    tile.Draw(canvas, {-180, 90});
    EXPECT_EQ(surface.At(16, 8), kGrey);
    EXPECT_EQ(surface.At(23, 11), kGrey);
    EXPECT_EQ(surface.At(15, 8), 0U);
    EXPECT_EQ(surface.At(16, 7), 0U);
    EXPECT_EQ(tile.PlaceOn({-180, 90}), CRect(16, 8, 32, 16));
}

TEST_F(Tile2, ShowsADeliveredImagePixelForPixelAndDecodesItOnce) {
    CTile2 tile(map, Layer(1), "1", nullptr);
    Surface surface(32, 16);
    CTileCanvas canvas = surface.Canvas();
    tile.SetImage(Image(Picture(16, 8, [](int x, int y) { return x == 5 && y == 3; }), 1, 0));
    tile.Draw(canvas, {-180, 90});
    EXPECT_EQ(surface.At(16, 0), kRed);
    EXPECT_EQ(surface.At(16 + 5, 3), kBlue);
    EXPECT_EQ(surface.At(16 + 4, 3), kRed);
    EXPECT_EQ(surface.At(31, 7), kRed);

    // The canvas is spoilt behind its back: what stands there already is not copied again, ...
    surface.pixels.assign(surface.pixels.size(), 7);
    tile.Draw(canvas, {-180, 90});
    EXPECT_EQ(surface.At(16, 0), 7U);
    // ... unless the content has moved or the tile forgot its place.
    CTileCanvas moved = surface.Canvas({1, 1, 0});
    tile.Draw(moved, {-180, 90});
    EXPECT_EQ(surface.At(16, 0), kRed);
    surface.pixels.assign(surface.pixels.size(), 7);
    tile.ForgetPlace();
    tile.Draw(moved, {-180, 90});
    EXPECT_EQ(surface.At(16, 0), kRed);
}

TEST_F(Tile2, StretchesAnImageOfAnotherSizeOverTheWholeTile) {
    CTile2 tile(map, Layer(1), "0", nullptr);
    Surface surface(16, 8);
    CTileCanvas canvas = surface.Canvas();
    tile.SetImage(Image(Red(15, 7)));
    tile.Draw(canvas, {-180, 90});
    for (const auto pixel : surface.pixels)
        ASSERT_EQ(pixel, kRed) << "no grey rim may stay";
}

TEST_F(Tile2, KeepsItsPictureWhenTheImageIsRefusedOrBroken) {
    auto cut = Red(16, 8);
    cut.resize(20);
    std::vector<std::uint8_t> hugeJpeg{0xFF, 0xD8, 0xFF, 0xC0, 0x00, 0x11, 0x08, 0x69,
                                       0x78, 0x69, 0x78, 0x03, 0x01, 0x11, 0x00, 0x02,
                                       0x11, 0x00, 0x03, 0x11, 0x00, 0xFF, 0xDA};
    const std::vector<std::uint8_t> page{'<', 'h', 't', 'm', 'l', '>'};
    for (const auto& bytes : {cut, hugeJpeg, page, std::vector<std::uint8_t>{}}) {
        CTile2 tile(map, Layer(1), "0", nullptr);
        Surface surface(16, 8);
        CTileCanvas canvas = surface.Canvas();
        tile.SetImage(Image(bytes));
        tile.Draw(canvas, {-180, 90});
        tile.Draw(canvas, {-180, 90});
        EXPECT_EQ(surface.At(8, 4), kGrey);
    }
}

TEST_F(Tile2, ASplitAndAMergeInheritThePicture) {
    CTile2 parent(map, Layer(2), "12", nullptr);
    Surface surface(16, 8);
    CTileCanvas canvas = surface.Canvas();
    parent.SetImage(Image(Picture(16, 8, [](int x, int y) { return x >= 8 && y >= 4; }), 2, 1));
    parent.Draw(canvas, parent.TopLeft());

    std::vector<std::unique_ptr<CTile2>> children;
    for (CTile2* child : parent.Split(Layer(3)))
        children.emplace_back(child);
    ASSERT_EQ(children.size(), 4U);
    const char* keys[] = {"120", "121", "122", "123"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(children[i]->Key(), CString(keys[i]));
        Surface quarter(16, 8);
        CTileCanvas target = quarter.Canvas();
        children[i]->Draw(target, children[i]->TopLeft());
        EXPECT_EQ(quarter.At(4, 4), i == 3 ? kBlue : kRed);
    }
    EXPECT_THROW(children[0]->Split(Layer(4)), std::logic_error);

    CTile2 merged(*children[0], *children[1], *children[2], *children[3], Layer(2));
    EXPECT_EQ(merged.Key(), CString("12"));
    EXPECT_EQ(merged.TopLeft(), parent.TopLeft());
    Surface whole(16, 8);
    CTileCanvas target = whole.Canvas();
    merged.Draw(target, merged.TopLeft());
    EXPECT_EQ(whole.At(2, 2), kRed);
    EXPECT_EQ(whole.At(12, 6), kBlue);
}

TEST_F(Tile2, KeepsTrueDistancesWhenTheFactorLeavesAFraction) {
    // 16 x 0.7 = 11.2: tiles are 11 pixels wide, and every fifth place is a pixel further.
    const CTileLayer2 layer = Layer(3, 0.7);
    const char* row[] = {"000", "001", "010", "011", "100", "101"};
    const int left[] = {0, 11, 22, 33, 44, 56};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(CTile2(map, layer, row[i], nullptr).PlaceOn({-180, 90}).left, left[i]);
}

TEST_F(Tile2, LiesInMapUnitsWhereItsKeySays) {
    const MapRectF rect = CTile2(map, Layer(2), "12", nullptr).GetLogicalRect();
    EXPECT_FLOAT_EQ(rect.x, 0);
    EXPECT_FLOAT_EQ(rect.y, 45);
    EXPECT_FLOAT_EQ(rect.width, 90);
    EXPECT_FLOAT_EQ(rect.height, -45);

    CTile2 odd(map, Layer(2), "1x", nullptr);
    EXPECT_EQ(odd.GetLogicalRect().width, 0);
    EXPECT_EQ(odd.TopLeft(), CPointF(0, 0));
    EXPECT_EQ(odd.PlaceOn({-180, 90}).left, 32) << "painted where the valid part of its key says";
}

}  // namespace
}  // namespace Terrascope

// What the display's pixels are: copies of the tiles', in their places, and nothing else.
#include <gtest/gtest.h>

#include <random>

#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/ViewPainter.h"
#include "tests/display/DisplayFixture.h"

namespace TerrascopeTest {
namespace {

using namespace Terrascope;

class Painting : public Display {
protected:
    Painting() { script->SetTileAnswer(TileAnswer::Gradient); }

    /// What layer 4 shows at a pixel of the layer, counted from the map's top-left corner.
    static std::uint32_t LayerPixel(int x, int y, int layer = 4) {
        return FromColour(TileGradient(layer, static_cast<unsigned>(x / 64),
                                       static_cast<unsigned>(y / 64), x % 64, y % 64));
    }
};

/// Opaque pixels without order.
std::shared_ptr<CTilePicture> Noise(CSize size) {
    auto picture = CTilePicture::Create(size);
    std::mt19937 random(11);
    std::generate_n(picture->Row(0), picture->PixelCount(), [&] { return 0xFF000000 | random(); });
    return picture;
}

// The truncated logical size is a fraction of a pixel short: that must not resample the picture.
TEST(ViewPainter, CopiesPixelForPixelAtEveryScreenFactorAndSize) {
    auto bitmap = CMapBitmap::Create({80, 60}, {0, 0});
    ASSERT_TRUE(bitmap);
    const CGdiplusSession session;
    const auto noise = Noise({80, 60});
    CTileCanvas canvas = bitmap->Canvas();
    canvas.Paint(*noise, {0, 0});
    for (const int dpi : {96, 120, 144}) {
        const float factor = DeviceFactor(dpi);
        for (const CSize size : {CSize(80, 60), CSize(61, 47), CSize(1, 1)}) {
            Screen screen(size);
            std::unique_ptr<CDibSection> strip;
            screen.SetFactor(static_cast<int>(factor));
            PaintView(screen.Dc(), *bitmap, CRect(CPoint(0, 0), size), size, factor, strip);
            int wrong = 0;
            for (int y = 0; y < size.cy; ++y) {
                for (int x = 0; x < size.cx; ++x) {
                    wrong += screen.At(x, y) != Rgb(noise->Row(y)[x]) ? 1 : 0;
                }
            }
            EXPECT_EQ(0, wrong) << dpi << " dpi, " << size.cx << "x" << size.cy;
        }
    }
}

// The frames of a layer switch are scaled without GDI+; its drawing of them is what counts.
TEST(ViewPainter, ScalesAsGdiPlusDrawsAndLeavesTheSameGround) {
    const CGdiplusSession session;
    const CSize size(80, 60);
    auto bitmap = CMapBitmap::Create(size, {7, 5});
    const TilePaint left{{0, 0, 50, 40}, Noise({50, 40})};
    const TilePaint right{{45, 0, 80, 40}, Noise({35, 40})};  // over the other
    bitmap->Canvas().Paint({left, right, {{0, 35, 5, 40}, Noise({5, 5})}});
    bitmap->Canvas().Fill({0, 40, 50, 60}, 0xFF123456);  // right of it nothing is painted
    for (const CRect& from : {CRect(0, 0, 80, 60), CRect(20, 15, 60, 45), CRect(3, 5, 64, 52),
                              CRect(-40, -30, 120, 90), CRect(30, 20, 110, 80)}) {
        Screen ours(size);
        Screen theirs(size);
        const auto strip = CDibSection::Create(size.cx, 7);
        bitmap->ScaleTo(ours.Dc(), CRect(CPoint(0, 0), size), from, *strip);
        bitmap->DrawTo(theirs.Dc(), {0, 0, size.cx, size.cy}, from);
        EXPECT_TRUE(theirs.Pixels() == ours.Pixels()) << from.left << " to " << from.right;
    }
}

// Pictures are not copied into the bitmap before somebody looks; that must not show.
TEST(MapBitmap, ShowsWhatPaintingEachPixelAtOnceWouldShow) {
    constexpr int kSide = 200;
    std::mt19937 random(2);
    const auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
    std::vector<std::shared_ptr<const CTilePicture>> pictures;
    for (const int side : {20, 40, 64, 90}) {  // the first one is copied at once
        pictures.push_back(Noise({side, side}));
    }
    std::vector<std::uint32_t> expected(kSide * kSide, Screen::kBackground);
    const auto paint = [&](const CRect& rect, const auto& colourAt) {
        for (int y = std::max<int>(rect.top, 0); y < std::min<int>(rect.bottom, kSide); ++y) {
            for (int x = std::max<int>(rect.left, 0); x < std::min<int>(rect.right, kSide); ++x) {
                expected[static_cast<std::size_t>(y * kSide + x)] = Rgb(colourAt(x, y));
            }
        }
    };
    auto bitmap = CMapBitmap::Create({kSide, kSide}, {0, 0});
    const auto strip = CDibSection::Create(kSide, 7);
    for (int step = 0; step < 3000; ++step) {
        const CPoint at(below(kSide + 60) - 60, below(kSide + 60) - 60);
        if (const int what = below(40); what == 0) {
            const CRect grey(at, CSize(below(120), below(120)));
            bitmap->Canvas().Fill(grey, 0xFF123456);
            paint(grey, [](int, int) { return 0xFF123456U; });
        } else if (what == 1) {
            const int dx = below(41) - 20;
            const int dy = below(41) - 20;
            ASSERT_TRUE(bitmap->Scroll(dx, dy, {kSide, kSide}));
            const auto former = expected;
            paint({0, 0, kSide, kSide}, [&](int x, int y) {
                const CPoint from(x + dx, y + dy);
                const bool isIn = CRect(0, 0, kSide, kSide).PtInRect(from) != FALSE;
                const std::uint32_t moved =
                    isIn ? former[static_cast<std::size_t>(from.y * kSide + from.x)] : 0;
                const bool isBare = !isIn || moved == Screen::kBackground;
                return isBare ? 0xFF808080U : moved;
            });
        } else if (what == 2) {
            bitmap = bitmap->CopyWithSize({kSide, kSide}, {0, 0});
        } else {
            const auto& picture = pictures[static_cast<std::size_t>(below(4))];
            bitmap->Canvas().Paint({{CRect(at, picture->Size()), picture}});
            paint(CRect(at, picture->Size()),
                  [&](int x, int y) { return picture->Row(y - at.y)[x - at.x]; });
        }
        if (step % 50 == 0) {
            Screen screen({kSide, kSide});
            bitmap->CopyTo(screen.Dc(), {0, 0}, CRect(0, 0, kSide, kSide), *strip);
            ASSERT_TRUE(expected == screen.Pixels()) << step;
        }
        if (step % 700 == 0) {
            bitmap->Canvas().Settle(CRect(at, CSize(100, 100)));
        }
    }
}

TEST(MapBitmap, ShowsMorePicturesThanItKeeps) {
    const CSize size(960, 704);
    auto bitmap = CMapBitmap::Create(size, {0, 0});
    const auto noise = Noise({32, 32});
    TilePaints paints;
    for (int i = 0; i < 660; ++i) {
        paints.push_back({CRect(CPoint(i % 30 * 32, i / 30 * 32), noise->Size()), noise});
    }
    bitmap->Canvas().Paint(paints);
    Screen screen(size);
    bitmap->CopyTo(screen.Dc(), {0, 0}, CRect(CPoint(0, 0), size), *CDibSection::Create(960, 32));
    int wrong = 0;
    for (int y = 0; y < size.cy; ++y) {
        for (int x = 0; x < size.cx; ++x) {
            wrong += screen.At(x, y) != Rgb(noise->Row(y % 32)[x % 32]) ? 1 : 0;
        }
    }
    EXPECT_EQ(0, wrong);
}

TEST_F(Painting, FollowsScaleAndOriginOfTheDeviceContextAndLeavesThem) {
    Show(4);
    Screen twice(CSize(2 * size.cx + 30, 2 * size.cy + 20));
    twice.SetFactor(2 * static_cast<int>(ScreenDeviceFactor()));
    ::SetViewportOrgEx(twice.Dc().GetSafeHdc(), 30, 20, nullptr);
    display->Draw(&twice.Dc());
    EXPECT_EQ(Rgb(Screen::kBackground), twice.At(29, 20));
    for (const CPoint at : {CPoint(1, 1), CPoint(100, 60), CPoint(180, 100)}) {
        // The view begins at (412, 196) of the layer's 1024 x 512 pixels.
        const std::uint32_t wanted = LayerPixel(412 + at.x, 196 + at.y);
        const std::uint32_t painted = twice.At(30 + 2 * at.x, 20 + 2 * at.y);
        for (const int shift : {0, 8, 16}) {
            EXPECT_NEAR(static_cast<int>(wanted >> shift & 0xFF),
                        static_cast<int>(painted >> shift & 0xFF), 12);
        }
    }
    POINT origin{};
    ::GetViewportOrgEx(twice.Dc().GetSafeHdc(), &origin);
    EXPECT_EQ(30, origin.x);
}

// Places truncate toward zero, so neighbours overlap by a pixel here and there: each rendering
// paints all tiles anew, in their order.
TEST_F(Painting, APanToAnyFractionOfAPixelShowsWhatAFreshRenderingShows) {
    MakeDisplay({120, 88});
    Show(4);
    std::mt19937 random(4);
    const auto pixels = [&] { return static_cast<float>(random() % 1600) / 100 - 8; };
    for (int i = 0; i < 40; ++i) {
        const CPointF center(pixels() * 360 / 1024, pixels() * 180 / 512);
        Use(MapToolKind::Pan);
        display->SetCenter(center);
        AwaitPicture();
        const auto panned = Paint();
        Use(MapToolKind::Arrow);
        display->SetCenter(center);
        ASSERT_EQ(panned, Paint()) << i;
    }
}

// Left and right of a narrow map, and between tiles that do not touch, nothing is painted; what a
// pan moves there must stay open, past the map's end too.
TEST_F(Painting, APanOverOpenGroundShowsWhatAFreshRenderingShows) {
    Load("FAST=1\r\n");
    ScriptedMap narrow = WorldMap();
    narrow.firstLayer = 4;  // its keys have place for 16 rows
    narrow.columns = 1;
    narrow.rows = 8;
    ScriptedMap gaps = WorldMap();
    gaps.zoomFactor = 0.7;
    const std::pair<ScriptedMap, int> cases[] = {{narrow, 4}, {gaps, 5}};
    for (const auto& [map, layer] : cases) {
        display.reset();
        Show(layer, map);
        for (const CSize shift : {CSize(0, 40), CSize(-60, 400), CSize(33, -900)}) {
            Use(MapToolKind::Pan);
            display->OnLButtonDown(0, {100, 60});
            display->OnMouseMove(0, CPoint(100, 60) + shift);
            const auto dragged = Paint();
            EXPECT_EQ(0, std::count(dragged.begin(), dragged.end(), 0U)) << "unpainted";
            display->OnLButtonUp(0, CPoint(100, 60) + shift);
            AwaitPicture();
            const auto panned = Paint();
            Use(MapToolKind::Arrow);
            display->RefreshTiles();
            const auto fresh = Paint();
            int wrong = 0;
            for (std::size_t i = 0; i < fresh.size(); ++i) {
                // A gap keeps the grey of new ground, or what a tile's rounded place left there.
                const bool gap = layer == 5 && fresh[i] == Rgb(Screen::kBackground);
                wrong += panned[i] == 0 || (fresh[i] != panned[i] && !gap) ? 1 : 0;
            }
            EXPECT_EQ(0, wrong) << layer << ": " << shift.cx << "," << shift.cy;
            EXPECT_GT(std::count(fresh.begin(), fresh.end(), Rgb(Screen::kBackground)), 0);
            EXPECT_EQ(0, std::count(fresh.begin(), fresh.end(), kWaitingGrey));
        }
    }
}

// Only the visible tiles are painted anew; these had been visible. At the map's left and top edge
// the load region keeps its corner and changes its size only.
TEST_F(Painting, APanKeepsWhatItPutsOutOfView) {
    const struct {
        CSize view;
        int tileSize;
        CPointF center;
        CSize way;
    } pans[] = {{{600, 300}, 64, {0, 0}, {-140, -74}},
                {{600, 300}, 64, {0, 0}, {140, 74}},
                {{96, 64}, 16, {-180 + 50 * 360.0F / 512, 90 - 32 * 180.0F / 256}, {-20, -12}}};
    Load("THREADS=16\r\n");
    for (const auto& [view, tileSize, center, way] : pans) {
        ScriptedMap map = WorldMap();
        map.tileWidth = map.tileHeight = tileSize;
        MakeDisplay(view);
        Open(5, map);
        display->SetCenter(center);
        AwaitPicture();
        const auto before = Paint();
        const CPoint start(view.cx / 2, view.cy / 2);
        Drag(way, start);
        display->OnLButtonDown(0, start + way);
        display->OnMouseMove(0, start);
        EXPECT_TRUE(before == Paint()) << way.cx << ": while dragging back";
    }
}

// Columns and rows come from the provider's record: a wrong one paints another place, and what
// nobody painted does not count as opaque.
TEST_F(Painting, ATileThatLiesAboutItsPlaceLeavesNoUnpaintedGround) {
    script->SetTileAnswer(TileAnswer::WrongPlace);
    Show(4);
    Use(MapToolKind::Arrow);
    display->SetCenter(display->Center());
    const auto picture = Paint();
    EXPECT_EQ(0, std::count(picture.begin(), picture.end(), 0U)) << "transparent, copied as black";
}

TEST_F(Painting, ALargerViewAboutTheSameCornerGetsALargerBitmap) {
    Show(3);
    size = CSize(400, 240);
    const float factor = ScreenDeviceFactor();
    display->SetViewSize({DeviceToLogical(400, factor) + 1, DeviceToLogical(240, factor) + 1});
    display->SetCenter(display->Center());
    AwaitPicture();
    for (const CPoint at : {CPoint(0, 0), CPoint(399, 0), CPoint(0, 239), CPoint(399, 239)}) {
        EXPECT_EQ(LayerPixel(56 + at.x, 8 + at.y, 3), PaintedAt(at.x, at.y)) << at.x;
    }
}

TEST_F(Painting, AnotherLayerAboutTheSameCornerIsRenderedAnewOnTheBackground) {
    MakeDisplay(CSize(600, 400));
    Show(1);
    ASSERT_TRUE(display->SetLayer(2));
    AwaitPicture();
    const CRect map(CPoint(172, 136), CSize(256, 128));  // in the middle of the view
    EXPECT_EQ(LayerPixel(0, 0, 2), PaintedAt(map.left, map.top));
    EXPECT_EQ(LayerPixel(255, 127, 2), PaintedAt(map.right - 1, map.bottom - 1));
    for (const CPoint at : {CPoint(map.left - 1, 200), CPoint(map.right, 200),
                            CPoint(300, map.top - 1), CPoint(300, map.bottom)}) {
        EXPECT_EQ(Rgb(Screen::kBackground), PaintedAt(at.x, at.y)) << at.x << "," << at.y;
    }
}

}  // namespace
}  // namespace TerrascopeTest

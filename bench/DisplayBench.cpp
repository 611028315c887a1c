// What a frame, a refresh and a live tile cost, against the raw copy that they cannot do without.
#include <afxwin.h>
#include <psapi.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "terrascope/display/DeviceUnits.h"
#include "terrascope/display/Terrascope2.h"
#include "terrascope/tiles/TileKey.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"
#include "tests/fixtures/ScriptedProvider/TileBitmap.h"

namespace {

using namespace Terrascope;
using TerrascopeTest::Await;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr ULONGLONG kQuiet = 400;  // ms without a request: all tiles are there

/// A DIB section of the frame's size, selected into a device context of the host's units.
class Target {
public:
    Target() {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = kWidth;
        info.bmiHeader.biHeight = -kHeight;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        void* bits = nullptr;
        m_section = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        std::memset(bits, 1, std::size_t{4} * kWidth * kHeight);
        dc.CreateCompatibleDC(nullptr);
        m_former = ::SelectObject(dc.GetSafeHdc(), m_section);
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    ~Target() {
        ::SelectObject(dc.GetSafeHdc(), m_former);
        ::DeleteObject(m_section);
    }

    void UseHostUnits() {
        const int factor = static_cast<int>(ScreenDeviceFactor());
        ::SetMapMode(dc.GetSafeHdc(), MM_ANISOTROPIC);
        ::SetWindowExtEx(dc.GetSafeHdc(), 1000, 1000, nullptr);
        ::SetViewportExtEx(dc.GetSafeHdc(), factor, factor, nullptr);
    }

    CDC dc;

private:
    HBITMAP m_section = nullptr;
    HGDIOBJ m_former = nullptr;
};

SIZE_T ResidentBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

void WaitUntilQuiet(TerrascopeTest::ScriptedControl& script) {
    std::size_t seen = 0;
    ULONGLONG since = ::GetTickCount64();
    Await(
        [&] {
            if (script.Requests().size() != seen) {
                seen = script.Requests().size();
                since = ::GetTickCount64();
            }
            return ::GetTickCount64() - since > kQuiet;
        },
        120000);
}

/// Counts the repaint messages that it gets.
class CountingWindow : public CWnd {
public:
    CountingWindow() { CreateEx(0, "STATIC", "", WS_POPUP, CRect(0, 0, 9, 9), nullptr, 0); }
    ~CountingWindow() override { DestroyWindow(); }
    int repaints = 0;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message != kRepaintMessage)
            return CWnd::WindowProc(message, wParam, lParam);
        delete reinterpret_cast<RECT*>(wParam);
        ++repaints;
        return 0;
    }
};

/// A map of 16 x 8 image files of 256 x 256 pixels.
void WriteMap(const TerrascopeTest::TemporaryFolder& folder) {
    folder.WriteFile("maps\\grid\\map.ini",
                     "[MAP]\nFIRST_LAYER=4\nLAYER_COUNT=1\nLONGITUDE_START=0\n"
                     "LATITUDE_START=0\nLONGITUDE=16\nLATITUDE=8\nTILE_FORMAT=bmp\n"
                     "TILE_PATH={column}_{row}.bmp\n"
                     "[LAYER_4]\nTILE_COUNT_X=16\nTILE_COUNT_Y=8\n");
    const auto image =
        TerrascopeTest::MakeBitmapFile(256, 256, [](int x, int y) { return RGB(x, y, 128); });
    for (int column = 0; column < 16; ++column) {
        for (int row = 0; row < 8; ++row) {
            folder.WriteFile(
                "maps\\grid\\" + std::to_string(column) + "_" + std::to_string(row) + ".bmp",
                {reinterpret_cast<const char*>(image.data()), image.size()});
        }
    }
}

void BenchFilling() {
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.WriteSettings("[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n");
    library.LoadPlugins();
    WriteMap(library.Folder());

    CountingWindow window;
    const float factor = ScreenDeviceFactor();
    CTerrascope2 display(
        {DeviceToLogical(kWidth, factor) + 1, DeviceToLogical(kHeight, factor) + 1}, &window, 1.0);
    if (!display.OpenMap("grid")) {
        std::printf("the split-file provider did not find its map\n");
        return;
    }
    int tiles = 0;
    const double filled = Bench::MicrosecondsOf([&] {
        display.SetLayer(4);
        const Viewport view = display.View();
        const TileRange range = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
        tiles = range.columnCount * range.rowCount;
        Await([&] { return window.repaints == 1 + tiles; }, 60000);
    });
    // A loading thread sleeps 16 times for each tile; what 16 sleeps take is measured.
    const double pace = Bench::MicrosecondsOf([] {
        for (int i = 0; i < 16; ++i)
            ::Sleep(10);
    });
    Bench::PrintRow("fill a view from files, against pace x tiles / 2", filled, pace * tiles / 2,
                    1.05);
}

void Drag(CTerrascope2& display, CSize shift) {
    display.OnLButtonDown(0, {kWidth / 2, kHeight / 2});
    display.OnMouseMove(0, CPoint(kWidth / 2, kHeight / 2) + shift);
    display.OnLButtonUp(0, CPoint(kWidth / 2, kHeight / 2) + shift);
}

void BenchDisplay() {
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("ScriptedProvider.dll");
    library.WriteSettings("[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=ScriptedProvider\r\n");
    library.LoadPlugins();
    auto& script = *TerrascopeTest::FindScript();
    TerrascopeTest::ScriptedMap map;
    map.tileWidth = map.tileHeight = 256;
    map.layerCount = 6;
    script.SetMaps({map});

    const float factor = ScreenDeviceFactor();
    CTerrascope2 display(
        {DeviceToLogical(kWidth, factor) + 1, DeviceToLogical(kHeight, factor) + 1}, nullptr, 1.0);
    display.OpenMap(map.name.c_str());

    display.SetLayer(5);
    WaitUntilQuiet(script);

    Target target;
    Target source;
    Target screen;
    screen.UseHostUnits();
    Bench::Compare(
        "frame at rest 1920x1080, against BitBlt", 2.0, 50, 1, [&] { display.Draw(&screen.dc); },
        [&] {
            ::BitBlt(target.dc.GetSafeHdc(), 0, 0, kWidth, kHeight, source.dc.GetSafeHdc(), 0, 0,
                     SRCCOPY);
            ::GdiFlush();
        });

    // The bitmap covers the load region in whole tiles.
    const Viewport view = display.View();
    const TileRange range = TileRangeOf(view, RegionAround(view, kLoadRegionFactor));
    const std::size_t pixels =
        std::size_t{256} * 256 * static_cast<std::size_t>(range.columnCount * range.rowCount);
    std::vector<std::uint32_t> from(pixels, 1);
    std::vector<std::uint32_t> to(pixels, 2);
    const auto copy = [&] {
        std::memcpy(to.data(), from.data(), pixels * 4);
        Bench::Use(to);
    };
    int direction = 1;
    Drag(display, {100, 0});
    Drag(display, {-100, 0});
    Bench::Compare(
        "RefreshTiles after 100 pixels, against one copy", 2.0, 30, 1,
        [&] {
            Drag(display, {direction * 100, 0});
            direction = -direction;
        },
        copy);
    Bench::Compare(
        "RefreshTiles, nothing moved, against one copy", 0.2, 30, 1,
        [&] { display.RefreshTiles(); }, copy);
}

void BenchTileMemory() {
    const CGdiplusSession session;
    tagTILE_MAP_INFO map;
    map.nTileWidth = map.nTileHeight = 256;
    map.nFirstLayer = 1;
    map.nLayerCount = 10;
    map.dLongitude = 360;
    map.dLatitude = 180;
    tagTILE_MAP_LAYER_INFO info;
    info.nLayerNumber = 8;
    info.nTileCountX = info.nTileCountY = 256;
    const CTileLayer2 layer(map, info);
    constexpr unsigned kTiles = 400;
    std::vector<std::unique_ptr<CTile2>> tiles;
    tiles.reserve(kTiles);
    tiles.push_back(std::make_unique<CTile2>(map, layer, MakeTileKey(0, 0, 8), nullptr));
    const SIZE_T before = ResidentBytes();
    for (unsigned i = 1; i < kTiles; ++i)
        tiles.push_back(std::make_unique<CTile2>(map, layer, MakeTileKey(i, 1, 8), nullptr));
    const double each = static_cast<double>(ResidentBytes() - before) / (kTiles - 1);
    Bench::PrintRow("BYTES of a live tile, against width x height x 4", each, 256.0 * 256 * 4,
                    1.15);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): without its fixtures the program has nothing to do
int main() {
    Bench::PrintHeader();
    BenchTileMemory();  // first: later it would find memory to use again
    BenchFilling();
    BenchDisplay();
    return 0;
}

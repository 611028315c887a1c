// What a display costs: its first calls, a frame, a rendering, and its memory, against the raw
// copies and pixels that it cannot do without.
#include <afxwin.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/Holdings.h"
#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/MemoryTarget.h"
#include "bench/ScriptedMap.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

constexpr int kRuns = 31;

double PixelBytes(const Viewport& view, double factor) {
    const TileRange range = TileRangeOf(view, RegionAround(view, factor));
    return 4.0 * view.tileSize.cx * view.tileSize.cy * range.columnCount * range.rowCount;
}

// First in the process: later it would find memory to use again.
void BenchMemory(ScriptedLibrary& library) {
    library.UseMap(256, 6);
    MemoryTarget screen;
    UseHostUnits(screen.dc);
    { const CTerrascope2 first(ViewInLogicalUnits(), nullptr, 1.0); }
    const std::size_t before = HoldingsNow().privateBytes;
    CTerrascope2 display(ViewInLogicalUnits(), nullptr, 1.0);
    display.OpenMap("scripted");
    display.SetLayer(5);
    ScriptedLibrary::AwaitTiles(400);
    display.Draw(&screen.dc);
    const Viewport view = display.View();
    PrintRow("BYTES of display and view, against tiles and bitmap",
             static_cast<double>(HoldingsNow().privateBytes - before),
             PixelBytes(view, kVisibleRegionFactor) + PixelBytes(view, kLoadRegionFactor), 1.3);
}

double FirstCalls(ScriptedLibrary& library, int layerCount) {
    library.UseMap(256, layerCount);
    std::unique_ptr<CTerrascope2> display;
    return MicrosecondsOf([&] {
        display = std::make_unique<CTerrascope2>(ViewInLogicalUnits(), nullptr, 1.0);
        display->OpenMap("scripted");
        display->SetLayer(static_cast<UINT>(layerCount));
        display->SetCenter(display->Center());
    });
}

void BenchFirstCalls(ScriptedLibrary& library) {
    std::vector<double> small;
    std::vector<double> huge;
    for (int run = 0; run < kRuns; ++run) {
        small.push_back(FirstCalls(library, 4));
        huge.push_back(FirstCalls(library, 16));
    }
    PrintRow("the first four calls, against 8 ms", Median(small), 8000.0, 1.0);
    PrintRow("the same, 65,536 x 65,536 tiles, against 16 x 16", Median(huge), Median(small), 1.2);
}

void Drag(CTerrascope2& display, CSize shift) {
    const CPoint start(kFullHd.cx / 2, kFullHd.cy / 2);
    display.OnLButtonDown(0, start);
    display.OnMouseMove(0, start + shift);
    display.OnLButtonUp(0, start + shift);
}

void BenchFrames(ScriptedLibrary& library) {
    library.UseMap(256, 6);
    CTerrascope2 display(ViewInLogicalUnits(), nullptr, 1.0);
    display.OpenMap("scripted");
    display.SetLayer(5);
    ScriptedLibrary::AwaitTiles(400);

    MemoryTarget target;
    MemoryTarget source;
    MemoryTarget screen;
    UseHostUnits(screen.dc);
    Compare(
        "frame at rest 1920x1080, against BitBlt", 2.0, kRuns, 1, [&] { display.Draw(&screen.dc); },
        [&] { CopyView(target, source); });

    // The bitmap covers the load region in whole tiles.
    const auto bytes = static_cast<std::size_t>(PixelBytes(display.View(), kLoadRegionFactor));
    std::vector<std::uint8_t> from(bytes, 1);
    std::vector<std::uint8_t> to(bytes, 2);
    const auto copy = [&] {
        std::memcpy(to.data(), from.data(), bytes);
        Use(to);
    };
    int direction = 1;
    Drag(display, {100, 0});
    Drag(display, {-100, 0});
    ScriptedLibrary::AwaitTiles(400);
    Compare(
        "RefreshTiles after 100 pixels, against one copy", 2.0, kRuns, 1,
        [&] {
            Drag(display, {direction * 100, 0});
            direction = -direction;
        },
        copy);
    ScriptedLibrary::AwaitTiles(400);
    Compare(
        "RefreshTiles, nothing moved, against one copy", 0.2, kRuns, 1,
        [&] { display.RefreshTiles(); }, copy);
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    ScriptedLibrary library;
    PrintHeader();
    BenchMemory(library);
    BenchFirstCalls(library);
    BenchFrames(library);
    return 0;
}

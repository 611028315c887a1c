// How long the host's calls take while more than 500 tiles load unpaced: drawing the view and
// panning it, against the same calls when all is there.
#include <afxwin.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "tests/fixtures/LibraryFolder.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

constexpr std::size_t kSamples = 100;
constexpr int kStepsEachWay = 6;
constexpr ULONGLONG kFrameTime = 8;  // ms from one pan to the next: the user's hand is no faster

struct Calls {
    std::vector<double> draws;
    std::vector<double> pans;
};

/// Pans there and back by 100 pixels a step, and draws the view after each, as long as `goOn`.
template <typename GoOn>
void Pan(HostWindow& window, CDC& screen, Calls& calls, const GoOn& goOn) {
    CTerrascope2& display = window.Shown();
    const Viewport start = display.View();
    for (int step = 1; step <= 4 * kStepsEachWay && goOn(); ++step) {
        const int place = step % (2 * kStepsEachWay);
        const int x = 100 * (place <= kStepsEachWay ? place : 2 * kStepsEachWay - place);
        const CPointF center =
            start.center + CPointF(static_cast<float>(x * start.resolution.x), 0);
        calls.pans.push_back(MicrosecondsOf([&] { display.SetCenter(center); }));
        calls.draws.push_back(MicrosecondsOf([&] { display.Draw(&screen); }));
        window.RunFor(kFrameTime);
    }
    display.SetCenter(start.center);
}

/// Forgets all tiles of the display.
void OpenAnew(HostWindow& window, const TileFiles& files) {
    window.Shown().OpenMap(files.Name());
    window.Shown().SetLayer(static_cast<UINT>(files.Layer()));
}

/// Without a cache each tile of the display has its picture when it has arrived.
bool IsLoading() {
    return CLiveCount<CTilePicture>::Live() < CLiveCount<CTile2>::Live();
}

void Print(const char* name, const std::vector<double>& loading, const std::vector<double>& rest) {
    const std::string call(name);
    PrintRow((call + " while loading, longest, at rest + 4 ms").c_str(),
             Ranked(loading, loading.size()), Ranked(rest, rest.size()) + 4000.0, 1.0);
    PrintRow((call + " while loading, 99th of 100, at rest").c_str(),
             Ranked(loading, loading.size() * 99 / 100), Ranked(rest, rest.size() * 99 / 100), 1.5);
    PrintRow((call + " while loading, median, at rest").c_str(), Median(loading), Median(rest),
             1.5);
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    const CGdiplusSession session;
    TerrascopeTest::LibraryFolder library;
    library.AddPlugin("SplittedFileTileMapInfoProvider.dll");
    library.LoadPlugins();
    const auto open = [&](HostWindow& window, const TileFiles& files, const char* cache) {
        library.WriteSettings(
            "[SplittedFileTileMapInfoProvider]\r\nDATA_PATH=maps\r\n"
            "[TILE_LOAD]\r\nFAST=1\r\nTHREADS=4\r\nCACHE_MB=" +
            std::string(cache) + "\r\n");
        window.ShowNew();
        OpenAnew(window, files);
    };
    const TileFiles files(library.Folder(), "small", kJpeg96, 6, 64, 32);
    HostWindow window;
    CClientDC screen(&window);
    UseHostUnits(screen);

    Calls loading;
    open(window, files, "0");
    const std::size_t tiles = VisibleTilesOf(window.Shown().View()).size();
    while (loading.pans.size() < kSamples) {
        Pan(window, screen, loading, &IsLoading);
        OpenAnew(window, files);
    }
    Calls rest;
    open(window, files, "256");
    Pan(window, screen, rest, [] { return true; });
    window.RunUntil([] { return !IsLoading(); });
    rest = {};
    while (rest.pans.size() < kSamples) {
        Pan(window, screen, rest, [] { return true; });
    }
    PrintHeader();
    std::printf("%zu tiles in view\n", tiles);
    Print("Draw", loading.draws, rest.draws);
    Print("SetCenter, 100 pixels", loading.pans, rest.pans);
    return 0;
}

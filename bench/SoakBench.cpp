// What the process holds after many zooms and pans, against what it held after the same ones
// before: memory, handles, threads.
#include <afxwin.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "bench/Holdings.h"
#include "bench/HostWindow.h"
#include "bench/Measure.h"
#include "bench/ScriptedMap.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

// A zoom takes half a second: each display makes its part, and ends where it began.
constexpr int kDisplays = 10;
constexpr int kZooms = 200;
constexpr int kPans = 2000;

using Windows = std::vector<std::unique_ptr<HostWindow>>;

/// Of each display in turn.
void ZoomAndPan(Windows& windows) {
    const auto all = [&](const auto& work) {
        for (const auto& window : windows) {
            work(*window);
        }
    };
    for (int zoom = 0; zoom < kZooms / kDisplays; ++zoom) {
        const auto tool = zoom % 2 == 0 ? MapToolKind::ZoomOut : MapToolKind::ZoomIn;
        all([&](HostWindow& window) {
            CTerrascope2& display = window.Shown();
            window.RunUntil([&] { return display.ZoomAt(display.Center(), tool) == 1; });
        });
    }
    all([](HostWindow& window) {
        window.RunUntil([&] { return !window.Shown().IsSwitchingLayer(); });
    });
    for (int pan = 0; pan < kPans / kDisplays; ++pan) {
        all([&](HostWindow& window) {
            CTerrascope2& display = window.Shown();
            const Viewport view = display.View();
            const double pixels = pan % 20 < 10 ? 100 : -100;
            display.SetCenter(view.center +
                              CPointF(static_cast<float>(pixels * view.resolution.x), 0));
            window.RunUntil([] { return true; });
        });
    }
    windows.front()->RunFor(10'000);  // what is on its way arrives, and idle pool threads end
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    ScriptedLibrary library;
    library.UseLoading("FAST=1\r\nTHREADS=2\r\nCACHE_MB=64\r\n");
    library.UseMap(256, 7);
    Windows windows;
    for (int i = 0; i < kDisplays; ++i) {
        windows.push_back(std::make_unique<HostWindow>());
        CTerrascope2& display = windows.back()->ShowNew();
        display.OpenMap("scripted");
        display.SetLayer(6);
    }
    PrintHeader();
    ZoomAndPan(windows);
    const Holdings first = HoldingsNow();
    ZoomAndPan(windows);
    const Holdings second = HoldingsNow();
    const auto print = [&](const char* name, std::size_t Holdings::*count) {
        PrintRow(name, static_cast<double>(second.*count), static_cast<double>(first.*count), 1.02);
    };
    print("PRIVATE BYTES after 200 zooms and 2,000 pans again", &Holdings::privateBytes);
    print("HANDLES", &Holdings::handles);
    print("THREADS", &Holdings::threads);
    return 0;
}

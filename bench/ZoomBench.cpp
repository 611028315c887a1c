// What a zoom costs the host: the call, and the frames of the animation, against a copy of the
// view. All tiles are there when it begins, and the loading threads take up the new layer's at
// once.
#include <afxwin.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "bench/MemoryTarget.h"
#include "bench/ScriptedMap.h"

namespace {

using namespace Terrascope;
using namespace Terrascope::Bench;

constexpr int kRuns = 11;
constexpr double kLimit = 5000.0;  // microseconds of a call

struct Times {
    std::vector<double> calls;
    std::vector<double> frames;
    std::vector<double> copies;       ///< a copy of the view after each frame
    std::vector<double> firstFrames;  ///< of each switch, not among the others
};

/// Where frames and copies go.
struct Targets {
    Targets() { UseHostUnits(screen.dc); }
    MemoryTarget screen;
    MemoryTarget copy;
    MemoryTarget source;
};

/// A zoom and its animation. Without a window the switch goes on by itself, and any moment has its
/// frame.
void Zoom(CTerrascope2& display, MapToolKind tool, Targets& targets, Times& times) {
    const CPointF center = display.Center();
    times.calls.push_back(MicrosecondsOf([&] { display.ZoomAt(center, tool); }));
    ::Sleep(100);  // the first step has been made
    bool first = true;
    while (display.IsSwitchingLayer()) {
        const double frame = MicrosecondsOf([&] { display.Draw(&targets.screen.dc); });
        (first ? times.firstFrames : times.frames).push_back(frame);
        first = false;
        times.copies.push_back(MicrosecondsOf([&] { CopyView(targets.copy, targets.source); }));
        ::Sleep(9);
    }
    display.Draw(&targets.screen.dc);
    ScriptedLibrary::AwaitTiles(200);  // longer than the switch thread's last wait
}

void BenchZoom(ScriptedLibrary& library, int tileSize) {
    library.UseMap(tileSize, 6);
    CTerrascope2 display(ViewInLogicalUnits(), nullptr, 1.0);
    display.OpenMap("scripted");
    display.SetLayer(5);
    ScriptedLibrary::AwaitTiles(200);

    Targets targets;
    Times in;
    Times out;
    for (int run = 0; run < kRuns; ++run) {
        Zoom(display, MapToolKind::ZoomOut, targets, out);
        Zoom(display, MapToolKind::ZoomIn, targets, in);
    }
    const auto print = [&](const char* direction, const Times& times) {
        const std::string size = std::to_string(tileSize);
        const double copy = Median(times.copies);
        const std::string call = std::string("ZoomAt ") + direction + ", tiles of " + size;
        PrintRow((call + ", against 5 ms").c_str(), Median(times.calls), kLimit, 1.0);
        PrintRow((call + ", against a copy of the view").c_str(), Median(times.calls), copy,
                 kLimit / copy);
        const std::string frame = std::string("frame ") + direction + ", tiles of " + size;
        PrintRow((frame + ", against BitBlt").c_str(), Median(times.frames), copy, 3.0);
        PrintRow((frame + ", the first one").c_str(), Median(times.firstFrames), copy, 3.0);
    };
    print("in", in);
    print("out", out);
}

}  // namespace

// A bench that cannot make its files ends with the exception's text.
int main() {  // NOLINT(bugprone-exception-escape)
    ScriptedLibrary library;
    library.UseLoading("FAST=1\r\nTHREADS=2\r\n");
    PrintHeader();
    BenchZoom(library, 256);
    BenchZoom(library, 675);
    return 0;
}

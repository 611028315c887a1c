#include "viewer/script/PictureWait.h"

#include <chrono>

#include "viewer/MapView.h"
#include "viewer/script/MessagePump.h"

namespace Viewer {

PictureWait WaitForPicture(CMapView& view, double milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double, std::milli>(milliseconds);
    const auto waitForQuiet = [&] {
        const std::chrono::duration<double, std::milli> left = end - Clock::now();
        return PumpUntil([&view] { return view.IsQuiet(); }, left.count());
    };
    PictureWait result;
    while (waitForQuiet()) {
        const int repaints = view.Statistics().repaints;
        result.lastChangeMs = view.Statistics().lastRepaintMs;
        view.Refresh();
        if (!waitForQuiet()) {
            break;
        }
        if (view.Statistics().repaints <= repaints + 1) {  // the refresh's own
            result.complete = true;
            return result;
        }
    }
    result.lastChangeMs = view.Statistics().lastRepaintMs;
    return result;
}

}  // namespace Viewer

#include "viewer/script/TourPlayer.h"
#include "viewer/MapAddress.h"

#include <shlobj.h>

#include <chrono>
#include <cstring>

#include "viewer/Console.h"
#include "viewer/MainFrame.h"
#include "viewer/script/JsonLine.h"
#include "viewer/script/MessagePump.h"
#include "viewer/script/PictureWait.h"

namespace Viewer {

bool CTourPlayer::Play(const std::vector<TourStep>& steps, std::string& error) {
    for (const TourStep& step : steps) {
        if (!PlayStep(step, error)) {
            return false;
        }
    }
    return true;
}

bool CTourPlayer::PlayStep(const TourStep& step, std::string& error) {
    using Clock = std::chrono::steady_clock;
    CMapView& view = m_frame.View();
    view.ResetStatistics();
    m_timedOut = false;
    const auto start = Clock::now();
    std::string wrong = std::visit([this](const auto& action) { return Act(action); }, step.action);
    PumpPending();
    if (wrong.empty() && !IsWindow(view.GetSafeHwnd())) {
        wrong = "the window was closed";
    }
    if (!wrong.empty()) {
        error = "tour line " + std::to_string(step.line) + ": " + wrong;
        return false;
    }
    const std::chrono::duration<double, std::milli> took = Clock::now() - start;
    std::vector<JsonMember> members = {{"line", step.line},
                                       {"step", WithoutSecrets(step.text)},
                                       {"milliseconds", took.count()},
                                       {"frames", view.Statistics().frames},
                                       {"longest_frame", view.Statistics().longestFrameMs}};
    if (m_timedOut) {
        members.push_back({"timed_out", true});
    }
    if (const std::string server = m_frame.ServerText(); !server.empty()) {
        members.push_back({"server", server});
    }
    Print(JsonLine(members));
    return true;
}

std::string CTourPlayer::Act(const ToolStep& step) {
    m_frame.View().SelectTool(step.tool);
    return {};
}

std::string CTourPlayer::Act(const DragStep& step) {
    SendMouse(WM_LBUTTONDOWN, MK_LBUTTON, step.from);
    for (int move = 1; move <= step.moves; ++move) {
        const PixelPoint at = {step.from.x + (step.to.x - step.from.x) * move / step.moves,
                               step.from.y + (step.to.y - step.from.y) * move / step.moves};
        SendMouse(WM_MOUSEMOVE, MK_LBUTTON, at);
        PumpPending();
    }
    SendMouse(WM_LBUTTONUP, 0, step.to);
    return {};
}

std::string CTourPlayer::Act(const ClickStep& step) {
    SendMouse(WM_LBUTTONDOWN, MK_LBUTTON, step.at);
    SendMouse(WM_LBUTTONUP, 0, step.at);
    return {};
}

std::string CTourPlayer::Act(const WheelStep& step) {
    CMapView& view = m_frame.View();
    CPoint screen(step.at.x, step.at.y);
    ::ClientToScreen(view.GetSafeHwnd(), &screen);
    const int direction = step.notches > 0 ? 1 : -1;
    for (int notch = 0; notch != step.notches; notch += direction) {
        view.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(0, direction * WHEEL_DELTA),
                         MAKELPARAM(screen.x, screen.y));
        // The display refuses a second step while it animates the first.
        if (notch + direction != step.notches) {
            m_timedOut = !PumpUntil([&view] { return view.IsQuiet(); }, m_timeoutMs);
        }
    }
    return {};
}

std::string CTourPlayer::Act(const KeyStep& step) {
    m_frame.View().SendMessage(WM_KEYDOWN, step.key);
    return {};
}

std::string CTourPlayer::Act(const LayerStep& step) {
    return m_frame.View().ShowLayer(step.layer)
               ? ""
               : "the map has no layer " + std::to_string(step.layer) + ", only " +
                     m_frame.LayerRangeText();
}

std::string CTourPlayer::Act(const CenterStep& step) {
    m_frame.View().ShowCenter(step.center);
    return {};
}

std::string CTourPlayer::Act(const SizeStep& step) {
    m_frame.ResizeView(step.size);
    return {};
}

std::string CTourPlayer::Act(const WaitStep&) {
    m_timedOut = !WaitForPicture(m_frame.View(), m_timeoutMs).complete;
    return {};
}

std::string CTourPlayer::Act(const FramesStep& step) {
    CMapView& view = m_frame.View();
    m_timedOut = !PumpUntil(
        [&] { return view.Statistics().frames >= step.count || view.IsQuiet(); }, m_timeoutMs);
    return {};
}

std::string CTourPlayer::Act(const SnapshotStep& step) {
    PumpPending();
    return m_frame.View().SavePicture(step.file.c_str())
               ? ""
               : "cannot write \"" + step.file + "\"; choose a file in an existing folder";
}

std::string CTourPlayer::Act(const DropStep& step) {
    // The window receives what the shell would send it, and frees it.
    const DROPFILES header = {sizeof(DROPFILES), {0, 0}, FALSE, FALSE};
    const HGLOBAL block = ::GlobalAlloc(GHND, sizeof(header) + step.file.size() + 2);
    void* bytes = block != nullptr ? ::GlobalLock(block) : nullptr;
    if (bytes == nullptr) {
        ::GlobalFree(block);
        return "no memory";
    }
    std::memcpy(bytes, &header, sizeof(header));
    std::memcpy(static_cast<char*>(bytes) + sizeof(header), step.file.data(), step.file.size());
    ::GlobalUnlock(block);
    m_frame.SendMessage(WM_DROPFILES, reinterpret_cast<WPARAM>(block));
    return m_frame.TakeProblem();
}

void CTourPlayer::SendMouse(UINT message, WPARAM keys, PixelPoint at) {
    m_frame.View().SendMessage(message, keys, MAKELPARAM(at.x, at.y));
}

}  // namespace Viewer

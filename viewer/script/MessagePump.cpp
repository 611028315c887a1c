#include "viewer/script/MessagePump.h"

#include <afxwin.h>

#include <chrono>

namespace Viewer {
namespace {

/// False on the quit message.
bool RunWaiting() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            PostQuitMessage(static_cast<int>(message.wParam));
            return false;
        }
        if (!AfxGetApp()->PreTranslateMessage(&message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
    return true;
}

}  // namespace

bool PumpUntil(const std::function<bool()>& isDone, double milliseconds) {
    using Clock = std::chrono::steady_clock;
    constexpr DWORD kLookAgainMs = 10;
    const auto start = Clock::now();
    while (RunWaiting()) {
        if (isDone()) {
            return true;
        }
        if (std::chrono::duration<double, std::milli>(Clock::now() - start).count() >
            milliseconds) {
            return false;
        }
        MsgWaitForMultipleObjects(0, nullptr, FALSE, kLookAgainMs, QS_ALLINPUT);
    }
    return false;
}

void PumpPending() {
    RunWaiting();
}

}  // namespace Viewer

#include "terrascope/display/HostWindow.h"

#include <memory>
#include <new>

#include "terrascope/display/ITerrascope.h"

namespace Terrascope {

namespace {

constexpr int kPatience = 10;  // milliseconds from a message to the next

struct Search {
    const CWnd* wanted;
    HWND found = nullptr;
};

BOOL CALLBACK CheckWindow(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<Search*>(parameter);
    if (CWnd::FromHandlePermanent(window) == search.wanted) {
        search.found = window;
        return FALSE;
    }
    ::EnumChildWindows(
        window,
        [](HWND child, LPARAM inner) -> BOOL {
            auto& deeper = *reinterpret_cast<Search*>(inner);
            if (CWnd::FromHandlePermanent(child) == deeper.wanted) {
                deeper.found = child;
            }
            return deeper.found == nullptr ? TRUE : FALSE;
        },
        parameter);
    return search.found == nullptr ? TRUE : FALSE;
}

/// The window of this thread that an object is attached to. Looked for from the windows' side: the
/// object itself may be gone.
HWND WindowOf(const CWnd* object) {
    Search search{object};
    ::EnumThreadWindows(::GetCurrentThreadId(), &CheckWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void Unite(CRect& all, const CRect& rect) {
    const CRect former = all;
    all.UnionRect(&former, &rect);
}

}  // namespace

CHostWindow::CHostWindow(CWnd* window, bool merging)
    : m_window(window),
      m_attached(window != nullptr && (window->GetSafeHwnd() == nullptr ||
                                       CWnd::FromHandlePermanent(window->GetSafeHwnd()) == window)),
      m_handle(window != nullptr ? window->GetSafeHwnd() : nullptr),
      m_timer(merging ? ::CreateThreadpoolTimer(&OnTimer, this, nullptr) : nullptr) {}

CHostWindow::~CHostWindow() {
    if (m_timer != nullptr) {
        {
            CSingleLock lock(&m_lock, TRUE);
            m_ending = true;  // a callback that runs now would set the timer again
        }
        ::SetThreadpoolTimer(m_timer, nullptr, 0, 0);
        ::WaitForThreadpoolTimerCallbacks(m_timer, TRUE);
        ::CloseThreadpoolTimer(m_timer);
    }
}

void CHostWindow::Refresh() {
    if (m_attached && (m_handle == nullptr || CWnd::FromHandlePermanent(m_handle) != m_window)) {
        m_handle = WindowOf(m_window);
    }
}

void CHostWindow::PostRepaint(const CRect& rect) {
    if (m_timer == nullptr) {
        Post(rect);
        return;
    }
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_waiting) {
            Unite(m_collected, rect);
            return;
        }
        StartWaitingLocked();
    }
    PostOrCollect(rect);
}

void CHostWindow::PostOrCollect(const CRect& rect) {
    if (!Post(rect)) {
        CSingleLock lock(&m_lock, TRUE);
        Unite(m_collected, rect);
        StartWaitingLocked();
    }
}

// The host takes a message at its own time; within 10 ms the next goes out all the same. Sooner it
// would be a frame that nobody sees, of which the loading threads would have to wait for the end.
void CHostWindow::StartWaitingLocked() {
    m_waiting = true;
    m_painted = false;
    m_posted = ::GetTickCount64();
    if (m_ending) {
        return;
    }
    LARGE_INTEGER due;
    due.QuadPart = -10000LL * kPatience;  // from now, in units of 100 ns
    FILETIME time{due.LowPart, static_cast<DWORD>(due.HighPart)};
    ::SetThreadpoolTimer(m_timer, &time, 0, 0);
}

CRect CHostWindow::TakeCollectedLocked() {
    const CRect rect = m_collected;
    m_collected.SetRectEmpty();
    m_hurried = false;
    m_waiting = false;
    if (!rect.IsRectEmpty()) {
        StartWaitingLocked();
    }
    return rect;
}

void CHostWindow::OnPainted() {
    if (m_timer == nullptr) {
        return;
    }
    CRect rect(0, 0, 0, 0);
    {
        CSingleLock lock(&m_lock, TRUE);
        m_painted = true;
        // The timer's callback may be late: others use the pool, too.
        if (m_hurried || ::GetTickCount64() - m_posted >= ULONGLONG{kPatience}) {
            rect = TakeCollectedLocked();
        }
    }
    PostNow(rect);
}

void CHostWindow::Hurry() {
    if (m_timer == nullptr) {
        return;
    }
    CRect rect(0, 0, 0, 0);
    {
        CSingleLock lock(&m_lock, TRUE);
        m_hurried = m_waiting && !m_collected.IsRectEmpty();
        if (m_hurried && m_painted) {
            rect = TakeCollectedLocked();
        }
    }
    PostNow(rect);
}

void CALLBACK CHostWindow::OnTimer(PTP_CALLBACK_INSTANCE, void* window, PTP_TIMER) {
    static_cast<CHostWindow*>(window)->PostCollected();
}

void CHostWindow::PostCollected() {
    CRect rect;
    {
        CSingleLock lock(&m_lock, TRUE);
        rect = TakeCollectedLocked();
    }
    PostNow(rect);
}

void CHostWindow::PostNow(const CRect& rect) {
    if (!rect.IsRectEmpty()) {
        PostOrCollect(rect);
    }
}

bool CHostWindow::Post(const CRect& rect) const {
    const HWND window = m_handle;
    if (window == nullptr) {
        return true;
    }
    std::unique_ptr<RECT> message(new (std::nothrow) RECT(rect));
    if (message != nullptr &&
        ::PostMessage(window, kRepaintMessage, reinterpret_cast<WPARAM>(message.get()), 0)) {
        message.release();  // the host deletes it
        return true;
    }
    return !::IsWindow(window);
}

void CHostWindow::Withhold(const CRect& rect) {
    CSingleLock lock(&m_lock, TRUE);
    Unite(m_withheld, rect);
}

CRect CHostWindow::TakeWithheld() {
    CSingleLock lock(&m_lock, TRUE);
    const CRect rect = m_withheld;
    m_withheld.SetRectEmpty();
    return rect;
}

void CHostWindow::PostRepaintOfView(const CRect& view) {
    TakeWithheld();
    PostRepaint(view);
    Hurry();
}

void CHostWindow::PostWithheld() {
    const CRect rect = TakeWithheld();
    if (!rect.IsRectEmpty()) {
        PostRepaint(rect);
        Hurry();
    }
}

}  // namespace Terrascope

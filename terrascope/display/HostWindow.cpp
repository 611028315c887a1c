#include "terrascope/display/HostWindow.h"

#include <memory>

#include "terrascope/display/ITerrascope.h"

namespace Terrascope {

namespace {

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

}  // namespace

CHostWindow::CHostWindow(CWnd* window)
    : m_window(window),
      m_attached(window != nullptr && (window->GetSafeHwnd() == nullptr ||
                                       CWnd::FromHandlePermanent(window->GetSafeHwnd()) == window)),
      m_handle(window != nullptr ? window->GetSafeHwnd() : nullptr) {}

void CHostWindow::Refresh() {
    if (m_attached && (m_handle == nullptr || CWnd::FromHandlePermanent(m_handle) != m_window)) {
        m_handle = WindowOf(m_window);
    }
}

void CHostWindow::PostRepaint(const CRect& rect) const {
    const HWND window = m_handle;
    if (window == nullptr) {
        return;
    }
    auto message = std::make_unique<RECT>(rect);
    if (::PostMessage(window, kRepaintMessage, reinterpret_cast<WPARAM>(message.get()), 0)) {
        message.release();  // the host deletes it
    }
}

void CHostWindow::Withhold(const CRect& rect) {
    CSingleLock lock(&m_lock, TRUE);
    CRect all;
    all.UnionRect(&m_withheld, &rect);
    m_withheld = all;
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
}

void CHostWindow::PostWithheld() {
    const CRect rect = TakeWithheld();
    if (!rect.IsRectEmpty()) {
        PostRepaint(rect);
    }
}

}  // namespace Terrascope

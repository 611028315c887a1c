#pragma once

#include <afxmt.h>
#include <afxwin.h>

#include <atomic>

#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope {

/// The window of the host as the display uses it: where repaint messages go.
///
/// Units:   rectangles in client pixels of the window.
/// Borrows: the window object, which is only compared, never used after construction: the host may
///          delete it, or destroy its window and make another, while a loading thread posts.
/// Threads: Refresh on the user-interface thread, the rest on any.
/// Locks:   one, innermost, for what is withheld or collected.
class CHostWindow {
public:
    /// `window` may be null (nothing is ever posted) and may have no window yet.
    /// `merging`: for 10 ms after a message rectangles are collected and posted as one; those that
    /// somebody waits for, as soon as the host has painted.
    CHostWindow(CWnd* window, bool merging);
    ~CHostWindow();
    CHostWindow(const CHostWindow&) = delete;
    CHostWindow& operator=(const CHostWindow&) = delete;

    bool Exists() const { return m_window != nullptr; }

    /// Finds the window that belongs to the object now: it may have come later, or anew.
    void Refresh();

    /// Asks the host to repaint a rectangle. The message's RECT is the host's from then on.
    void PostRepaint(const CRect& rect);

    /// The host has painted. That counts as the answer to what was posted, though it may have been
    /// for another reason: then a message more goes out, and none is lost. What is hurried, or
    /// waits for longer than 10 ms, goes out now.
    void OnPainted();

    /// The same for the whole view, which what was withheld is a part of, and which the user waits
    /// for.
    void PostRepaintOfView(const CRect& view);

    /// What was collected is the last for a while.
    void Hurry();

    /// Keeps a rectangle back until PostWithheld, which posts one about all of them.
    void Withhold(const CRect& rect);
    void PostWithheld();

private:
    static void CALLBACK OnTimer(PTP_CALLBACK_INSTANCE, void* window, PTP_TIMER);
    /// False when the window did not get the message but might the next time.
    bool Post(const CRect& rect) const;
    /// Requires: m_timer. What cannot be posted now is collected again.
    void PostOrCollect(const CRect& rect);
    void StartWaitingLocked() TERRASCOPE_REQUIRES(m_lock);
    CRect TakeCollectedLocked() TERRASCOPE_REQUIRES(m_lock);
    void PostNow(const CRect& rect);
    void PostCollected();
    CRect TakeWithheld();

    CWnd* const m_window;
    /// False for a temporary object about a window of somebody else's: that has the handle alone.
    const bool m_attached;
    std::atomic<HWND> m_handle;
    PTP_TIMER m_timer = nullptr;  ///< posts what was collected; null without merging
    CCriticalSection m_lock;
    CRect m_withheld TERRASCOPE_GUARDED_BY(m_lock){0, 0, 0, 0};
    CRect m_collected TERRASCOPE_GUARDED_BY(m_lock){0, 0, 0, 0};
    bool m_waiting TERRASCOPE_GUARDED_BY(m_lock) = false;  ///< the timer has been set
    bool m_painted TERRASCOPE_GUARDED_BY(m_lock) = false;  ///< since the last message
    ULONGLONG m_posted TERRASCOPE_GUARDED_BY(m_lock) = 0;  ///< GetTickCount64 at the last message
    bool m_hurried TERRASCOPE_GUARDED_BY(m_lock) = false;  ///< what was collected is waited for
    bool m_ending TERRASCOPE_GUARDED_BY(m_lock) = false;   ///< the timer may not be set any more
};

}  // namespace Terrascope

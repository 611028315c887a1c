#pragma once

#include "../Export.h"
#include "../core/Object.h"
#include "../core/String.h"
#include "DeviceContext.h"
#include "Geometry.h"
#include "Menu.h"
#include "MessageHandlers.h"

class CDataExchange;

/// A window, and the object whose message map handles what comes to it.
///
/// Owns:    the system's window, when it was created or attached through the object; the
///          destructor destroys it.
/// Threads: the thread that created the window. FromHandle and FromHandlePermanent may be asked on
///          any, and only find the windows of the asking thread.
/// Errors:  functions answer FALSE or null as the system does. An exception that leaves a handler
///          is reported and swallowed: none crosses the window procedure.
class FRAMEWORK_API CWnd : public CObject {
    DECLARE_DYNAMIC(CWnd)
public:
    CWnd() = default;
    ~CWnd() override;

    HWND m_hWnd = nullptr;

    HWND GetSafeHwnd() const { return m_hWnd; }

    /// The object of a window; a temporary one when none has it, which must not be kept beyond
    /// the current message.
    static CWnd* FromHandle(HWND window);
    /// The object that a window was created or attached with; null when there is none.
    static CWnd* FromHandlePermanent(HWND window);

    BOOL Attach(HWND window);
    HWND Detach();
    BOOL SubclassWindow(HWND window);
    BOOL SubclassDlgItem(UINT id, CWnd* parent);

    virtual BOOL Create(LPCSTR className, LPCSTR title, DWORD style, const RECT& rect, CWnd* parent,
                        UINT id);
    /// `rect` in the parent's client units; rectDefault of CFrameWnd lets the system choose.
    BOOL CreateEx(DWORD exStyle, LPCSTR className, LPCSTR title, DWORD style, const RECT& rect,
                  CWnd* parent, UINT id);
    virtual BOOL DestroyWindow();

    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::SendMessageA(m_hWnd, message, wParam, lParam);
    }
    BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::PostMessageA(m_hWnd, message, wParam, lParam);
    }

    void SetWindowText(LPCSTR text) { ::SetWindowTextA(m_hWnd, text); }
    void GetWindowText(CString& text) const;
    int GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
    CWnd* GetDlgItem(int id) const { return FromHandle(::GetDlgItem(m_hWnd, id)); }
    DWORD GetStyle() const { return static_cast<DWORD>(::GetWindowLongA(m_hWnd, GWL_STYLE)); }
    /// With `positionFlags` the window is notified of its new frame.
    BOOL ModifyStyle(DWORD remove, DWORD add, UINT positionFlags = 0);
    BOOL ModifyStyleEx(DWORD remove, DWORD add, UINT positionFlags = 0);

    void GetClientRect(LPRECT rect) const { ::GetClientRect(m_hWnd, rect); }
    void GetWindowRect(LPRECT rect) const { ::GetWindowRect(m_hWnd, rect); }
    void ScreenToClient(LPPOINT point) const { ::ScreenToClient(m_hWnd, point); }
    void MoveWindow(int x, int y, int width, int height, BOOL repaint = TRUE) {
        ::MoveWindow(m_hWnd, x, y, width, height, repaint);
    }
    BOOL SetWindowPos(const CWnd* after, int x, int y, int cx, int cy, UINT flags) {
        return ::SetWindowPos(m_hWnd, after != nullptr ? after->m_hWnd : nullptr, x, y, cx, cy,
                              flags);
    }
    BOOL ShowWindow(int command) { return ::ShowWindow(m_hWnd, command); }
    BOOL EnableWindow(BOOL enable = TRUE) { return ::EnableWindow(m_hWnd, enable); }
    BOOL IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
    void UpdateWindow() { ::UpdateWindow(m_hWnd); }
    void Invalidate(BOOL erase = TRUE) { ::InvalidateRect(m_hWnd, nullptr, erase); }
    void InvalidateRect(LPCRECT rect, BOOL erase = TRUE) { ::InvalidateRect(m_hWnd, rect, erase); }
    BOOL GetUpdateRect(LPRECT rect, BOOL erase = FALSE) {
        return ::GetUpdateRect(m_hWnd, rect, erase);
    }
    BOOL RedrawWindow(LPCRECT rect, HRGN region, UINT flags) {
        return ::RedrawWindow(m_hWnd, rect, region, flags);
    }
    CWnd* SetFocus() { return FromHandle(::SetFocus(m_hWnd)); }
    CWnd* SetCapture() { return FromHandle(::SetCapture(m_hWnd)); }
    static CWnd* GetCapture() { return FromHandle(::GetCapture()); }
    int MessageBox(LPCSTR text, LPCSTR caption = nullptr, UINT type = MB_OK) {
        return ::MessageBoxA(m_hWnd, text, caption, type);
    }

    /// Moves values between the members and the controls; FALSE when a value was refused.
    BOOL UpdateData(BOOL saveAndValidate = TRUE);

    /// Looks at a message before it is translated and dispatched; TRUE when it is dealt with.
    virtual BOOL PreTranslateMessage(MSG* message);

    // What a handler's base answers: the window's default.
    int OnCreate(LPCREATESTRUCT) { return static_cast<int>(Default()); }
    void OnDestroy() { Default(); }
    void OnPaint() { Default(); }
    void OnSize(UINT, int, int) { Default(); }
    void OnSetFocus(CWnd*) { Default(); }
    void OnCaptureChanged(CWnd*) { Default(); }
    void OnGetMinMaxInfo(MINMAXINFO*) { Default(); }
    void OnKeyDown(UINT, UINT, UINT) { Default(); }
    void OnLButtonDown(UINT, CPoint) { Default(); }
    void OnLButtonUp(UINT, CPoint) { Default(); }
    void OnMouseMove(UINT, CPoint) { Default(); }
    BOOL OnEraseBkgnd(CDC*) { return static_cast<BOOL>(Default()); }
    BOOL OnMouseWheel(UINT, short, CPoint) { return static_cast<BOOL>(Default()); }
    BOOL OnSetCursor(CWnd*, UINT, UINT) { return static_cast<BOOL>(Default()); }

    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

protected:
    virtual const MessageMap* GetMessageMap() const;
    static const MessageMap* GetThisMessageMap();

    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    /// What the window did before it was given to the object.
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    /// The default of the message that is being handled.
    LRESULT Default();
    virtual void DoDataExchange(CDataExchange*) {}
    /// The first call for a window, before its messages come to the object. A window that is being
    /// created gets its text and its styles after that: see OnCreate.
    virtual void PreSubclassWindow() {}
    /// The last call for a window; an object made with `new` may delete itself.
    virtual void PostNcDestroy() {}
    virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);

private:
    bool Dispatch(UINT wanted, UINT code, UINT id, UINT message, WPARAM wParam, LPARAM lParam,
                  LRESULT* result);

    WNDPROC m_former = nullptr;
    friend class CDialog;
};

/// Registers a window class with these properties, once, and returns its name.
FRAMEWORK_API LPCSTR AfxRegisterWndClass(UINT style, HCURSOR cursor = nullptr,
                                         HBRUSH background = nullptr, HICON icon = nullptr);

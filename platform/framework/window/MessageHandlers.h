#pragma once

/// The lines of message maps; Wnd.h includes them. Each macro's name and handler are the
/// framework's documented ones.
#include "../Export.h"
#include "DeviceContext.h"
#include "MessageMap.h"

namespace FrameworkMessages {

FRAMEWORK_API CWnd* WindowOf(HWND handle);

/// A device context object for the length of one message; the handle stays the sender's.
struct BorrowedContext {
    explicit BorrowedContext(WPARAM handle) { dc.Attach(reinterpret_cast<HDC>(handle)); }
    ~BorrowedContext() { dc.Detach(); }
    BorrowedContext(const BorrowedContext&) = delete;
    BorrowedContext& operator=(const BorrowedContext&) = delete;

    CDC dc;
};

// One function for each form of handler. `H` is its member function pointer.

template <class H>
bool CallVoid(CWnd* window, const void* handler, UINT, WPARAM, LPARAM, LRESULT*) {
    Handler<H>::Call(window, handler);
    return true;
}

template <class H>
bool CallMessage(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM l, LRESULT* result) {
    *result = Handler<H>::Call(window, handler, w, l);
    return true;
}

template <class H>
bool CallMouse(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM l, LRESULT*) {
    Handler<H>::Call(window, handler, static_cast<UINT>(w), CPoint(l));
    return true;
}

template <class H>
bool CallWheel(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM l, LRESULT* result) {
    // FALSE leaves the message to the parent.
    *result =
        Handler<H>::Call(window, handler, LOWORD(w), static_cast<short>(HIWORD(w)), CPoint(l));
    return *result != FALSE;
}

template <class H>
bool CallKey(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM l, LRESULT*) {
    Handler<H>::Call(window, handler, static_cast<UINT>(w), LOWORD(l), HIWORD(l));
    return true;
}

template <class H>
bool CallSize(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM l, LRESULT*) {
    Handler<H>::Call(window, handler, static_cast<UINT>(w), static_cast<short>(LOWORD(l)),
                     static_cast<short>(HIWORD(l)));
    return true;
}

template <class H>
bool CallCreate(CWnd* window, const void* handler, UINT, WPARAM, LPARAM l, LRESULT* result) {
    *result = Handler<H>::Call(window, handler, reinterpret_cast<LPCREATESTRUCT>(l));
    return true;
}

template <class H>
bool CallDC(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM, LRESULT* result) {
    BorrowedContext context(w);
    *result = Handler<H>::Call(window, handler, &context.dc);
    return true;
}

template <class H>
bool CallSetCursor(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM l, LRESULT* result) {
    *result = Handler<H>::Call(window, handler, WindowOf(reinterpret_cast<HWND>(w)),
                               static_cast<UINT>(static_cast<short>(LOWORD(l))), HIWORD(l));
    return true;
}

template <class H>
bool CallWindowW(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM, LRESULT*) {
    Handler<H>::Call(window, handler, WindowOf(reinterpret_cast<HWND>(w)));
    return true;
}

template <class H>
bool CallWindowL(CWnd* window, const void* handler, UINT, WPARAM, LPARAM l, LRESULT*) {
    Handler<H>::Call(window, handler, WindowOf(reinterpret_cast<HWND>(l)));
    return true;
}

template <class H>
bool CallMinMaxInfo(CWnd* window, const void* handler, UINT, WPARAM, LPARAM l, LRESULT*) {
    Handler<H>::Call(window, handler, reinterpret_cast<MINMAXINFO*>(l));
    return true;
}

template <class H>
bool CallCtlColorReflect(CWnd* window, const void* handler, UINT message, WPARAM w, LPARAM,
                         LRESULT* result) {
    BorrowedContext context(w);
    const HBRUSH brush =
        Handler<H>::Call(window, handler, &context.dc, message - WM_CTLCOLORMSGBOX);
    *result = reinterpret_cast<LRESULT>(brush);
    return brush != nullptr;
}

template <class H>
bool CallCommandId(CWnd* window, const void* handler, UINT, WPARAM w, LPARAM, LRESULT*) {
    Handler<H>::Call(window, handler, LOWORD(w));
    return true;
}

template <class H>
bool CallNotify(CWnd* window, const void* handler, UINT, WPARAM, LPARAM l, LRESULT* result) {
    Handler<H>::Call(window, handler, reinterpret_cast<NMHDR*>(l), result);
    return true;
}

}  // namespace FrameworkMessages

#define FRAMEWORK_ENTRY(message, code, first, last, form, member) \
    {message,                                                     \
     code,                                                        \
     static_cast<UINT>(first),                                    \
     static_cast<UINT>(last),                                     \
     &FrameworkMessages::form<decltype(member)>,                  \
     &FrameworkMessages::kHandler<member>},
#define FRAMEWORK_WM(message, form, member) \
    FRAMEWORK_ENTRY(message, 0, 0, 0, form, &ThisClass::member)

#define ON_MESSAGE(message, member) FRAMEWORK_ENTRY(message, 0, 0, 0, CallMessage, member)
#define ON_COMMAND(id, member) FRAMEWORK_ENTRY(WM_COMMAND, 0, id, id, CallVoid, member)
#define ON_COMMAND_RANGE(first, last, member) \
    FRAMEWORK_ENTRY(WM_COMMAND, 0, first, last, CallCommandId, member)
#define ON_BN_CLICKED(id, member) FRAMEWORK_ENTRY(WM_COMMAND, BN_CLICKED, id, id, CallVoid, member)
#define ON_NOTIFY(code, id, member) \
    FRAMEWORK_ENTRY(WM_NOTIFY, static_cast<UINT>(code), id, id, CallNotify, member)

#define ON_WM_CAPTURECHANGED() FRAMEWORK_WM(WM_CAPTURECHANGED, CallWindowL, OnCaptureChanged)
#define ON_WM_CREATE() FRAMEWORK_WM(WM_CREATE, CallCreate, OnCreate)
#define ON_WM_CTLCOLOR_REFLECT() FRAMEWORK_WM(kReflectedCtlColor, CallCtlColorReflect, CtlColor)
#define ON_WM_DESTROY() FRAMEWORK_WM(WM_DESTROY, CallVoid, OnDestroy)
#define ON_WM_ERASEBKGND() FRAMEWORK_WM(WM_ERASEBKGND, CallDC, OnEraseBkgnd)
#define ON_WM_GETMINMAXINFO() FRAMEWORK_WM(WM_GETMINMAXINFO, CallMinMaxInfo, OnGetMinMaxInfo)
#define ON_WM_KEYDOWN() FRAMEWORK_WM(WM_KEYDOWN, CallKey, OnKeyDown)
#define ON_WM_LBUTTONDOWN() FRAMEWORK_WM(WM_LBUTTONDOWN, CallMouse, OnLButtonDown)
#define ON_WM_LBUTTONUP() FRAMEWORK_WM(WM_LBUTTONUP, CallMouse, OnLButtonUp)
#define ON_WM_MOUSEMOVE() FRAMEWORK_WM(WM_MOUSEMOVE, CallMouse, OnMouseMove)
#define ON_WM_MOUSEWHEEL() FRAMEWORK_WM(WM_MOUSEWHEEL, CallWheel, OnMouseWheel)
#define ON_WM_PAINT() FRAMEWORK_WM(WM_PAINT, CallVoid, OnPaint)
#define ON_WM_SETCURSOR() FRAMEWORK_WM(WM_SETCURSOR, CallSetCursor, OnSetCursor)
#define ON_WM_SETFOCUS() FRAMEWORK_WM(WM_SETFOCUS, CallWindowW, OnSetFocus)
#define ON_WM_SIZE() FRAMEWORK_WM(WM_SIZE, CallSize, OnSize)

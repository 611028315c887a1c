#pragma once

#include "../core/Windows.h"
#include "Geometry.h"

class CCmdTarget;
class CWnd;
class CDC;

#define afx_msg

/// Calls one kind of handler with what a message carries; true when the message is dealt with.
using MessageCall = bool (*)(CWnd* window, const void* handler, UINT message, WPARAM wParam,
                             LPARAM lParam, LRESULT* result);

/// One line of a message map. For WM_COMMAND and WM_NOTIFY `code` is the notification, and
/// `firstId` to `lastId` the controls.
struct MessageEntry {
    UINT message;
    UINT code;
    UINT firstId;
    UINT lastId;
    MessageCall call;
    const void* handler;
};

/// A class's message map and that of its base.
struct MessageMap {
    const MessageMap* (*base)();
    const MessageEntry* entries;
};

#define DECLARE_MESSAGE_MAP()                     \
protected:                                        \
    static const MessageMap* GetThisMessageMap(); \
    const MessageMap* GetMessageMap() const override;

#define BEGIN_MESSAGE_MAP(theClass, baseClass)          \
    const MessageMap* theClass::GetMessageMap() const { \
        return GetThisMessageMap();                     \
    }                                                   \
    const MessageMap* theClass::GetThisMessageMap() {   \
        using ThisClass [[maybe_unused]] = theClass;    \
        using BaseClass = baseClass;                    \
        static const MessageEntry entries[] = {
#define END_MESSAGE_MAP()                                                   \
    { 0, 0, 0, 0, nullptr, nullptr }                                        \
    }                                                                       \
    ;                                                                       \
    static const MessageMap map = {&BaseClass::GetThisMessageMap, entries}; \
    return &map;                                                            \
    }

/// A parent's WM_CTLCOLORxxx as it is offered to the control first.
constexpr UINT kReflectedCtlColor = WM_USER + 0x1C00 + 0x0019;

namespace FrameworkMessages {

/// Keeps a pointer to a member function where the map can point at it, one for each handler.
template <auto Handler>
inline constexpr auto kHandler = Handler;

/// The class of a handler and its call on a window that is of that class.
template <class Function>
struct Handler;

template <class Result, class Class, class... Arguments>
struct Handler<Result (Class::*)(Arguments...)> {
    static Result Call(CWnd* window, const void* handler, Arguments... arguments) {
        const auto function = *static_cast<Result (Class::*const*)(Arguments...)>(handler);
        return (static_cast<Class*>(window)->*function)(arguments...);
    }
};

}  // namespace FrameworkMessages

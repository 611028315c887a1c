#pragma once

#include <utility>

#include "Windows.h"

/// What the classes that own a handle do with it; each of them keeps it in a public member under
/// the name that the framework's users expect.
template <class Handle, BOOL(WINAPI* Delete)(Handle)>
struct HandleMember {
    /// Takes a handle over; FALSE, and nothing changed, for null.
    static BOOL Attach(Handle& member, Handle handle) {
        if (handle != nullptr) {
            member = handle;
        }
        return handle != nullptr;
    }
    static Handle Detach(Handle& member) { return std::exchange(member, nullptr); }
    /// FALSE when there is none, or the system refuses.
    static BOOL Close(Handle& member) {
        const Handle handle = Detach(member);
        return handle != nullptr && Delete(handle);
    }
};

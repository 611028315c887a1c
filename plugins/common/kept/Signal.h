#pragma once

#include <windows.h>

#include <stdexcept>

#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {

/// An event that one thread waits for. Threads: any.
/// Errors:  the constructor throws when the system has no event left.
class CSignal {
public:
    enum Kind { OneWait, ForGood };  ///< how long it stays set

    explicit CSignal(Kind kind)
        : m_event(::CreateEventW(nullptr, kind == ForGood ? TRUE : FALSE, FALSE, nullptr)) {
        if (!m_event) {
            throw std::runtime_error("the system has no event left");
        }
    }

    void Set() { ::SetEvent(m_event.Get()); }
    /// True as soon as it is set.
    bool Wait(DWORD milliseconds) const {
        return ::WaitForSingleObject(m_event.Get(), milliseconds) == WAIT_OBJECT_0;
    }
    /// Returns as soon as one of the two is set, or after the time.
    static void WaitForEither(const CSignal& a, const CSignal& b, DWORD milliseconds) {
        const HANDLE events[] = {a.m_event.Get(), b.m_event.Get()};
        ::WaitForMultipleObjects(2, events, FALSE, milliseconds);
    }

private:
    CUniqueHandle<HANDLE, &::CloseHandle> m_event;
};

}  // namespace Terrascope::Plugins

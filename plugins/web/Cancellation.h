#pragma once

#include <windows.h>

#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {

/// Ends what waits for it, once and for all. Threads: any.
/// Errors: without an event (the system has none left), whoever waits waits to his own limit.
class Cancellation {
public:
    Cancellation() : m_event(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    void Cancel() { ::SetEvent(m_event.Get()); }
    bool IsCancelled() const { return Wait(0); }

    /// Waits up to `milliseconds`; true as soon as it is cancelled.
    bool Wait(DWORD milliseconds) const {
        return ::WaitForSingleObject(m_event.Get(), milliseconds) == WAIT_OBJECT_0;
    }

    /// Signalled once it is cancelled; manual-reset.
    HANDLE Event() const { return m_event.Get(); }

private:
    CUniqueHandle<HANDLE, &::CloseHandle> m_event;
};

}  // namespace Terrascope::Plugins

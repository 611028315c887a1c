#pragma once

#include <windows.h>

#include <atomic>

#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {

/// Ends what waits for it, once and for all. Threads: any.
/// Errors: without an event (the system has none left), whoever waits waits to his own limit.
class Cancellation {
public:
    Cancellation() : m_event(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    void Cancel() {
        m_isCancelled = true;
        ::SetEvent(m_event.Get());
    }
    /// Costs nothing, unlike a look at the event.
    bool IsCancelled() const { return m_isCancelled; }

    /// Waits up to `milliseconds`; true as soon as it is cancelled.
    bool Wait(DWORD milliseconds) const {
        return ::WaitForSingleObject(m_event.Get(), milliseconds) == WAIT_OBJECT_0;
    }

    /// Signalled once it is cancelled; manual-reset.
    HANDLE Event() const { return m_event.Get(); }

private:
    std::atomic<bool> m_isCancelled{false};
    CUniqueHandle<HANDLE, &::CloseHandle> m_event;
};

}  // namespace Terrascope::Plugins

#pragma once

#include <afxmt.h>

#include <algorithm>
#include <atomic>
#include <vector>

#include "terrascope/support/Handles.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Ends what waits for it, once and for all. Threads: any.
/// Errors: without an event (the system has none left), whoever waits waits to his own limit.
class Cancellation {
public:
    /// Somebody who waits for something else as well, in his own way. Wake is called on the thread
    /// that cancels, under the lock that a Waiting's beginning and end take.
    class IWaiter {
    public:
        virtual void Wake() = 0;

    protected:
        ~IWaiter() = default;
    };

    /// For the length of a wait.
    class Waiting {
    public:
        Waiting(const Cancellation& cancellation, IWaiter& waiter)
            : m_cancellation(cancellation), m_waiter(waiter) {
            CSingleLock lock(&cancellation.m_lock, TRUE);
            cancellation.m_waiters.push_back(&waiter);
        }
        ~Waiting() {
            CSingleLock lock(&m_cancellation.m_lock, TRUE);
            auto& waiters = m_cancellation.m_waiters;
            waiters.erase(std::find(waiters.begin(), waiters.end(), &m_waiter));
        }
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;

    private:
        const Cancellation& m_cancellation;
        IWaiter& m_waiter;
    };

    Cancellation() : m_event(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

    void Cancel() {
        m_isCancelled = true;
        ::SetEvent(m_event.Get());
        CSingleLock lock(&m_lock, TRUE);
        for (IWaiter* waiter : m_waiters) {
            waiter->Wake();
        }
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
    mutable CCriticalSection m_lock;
    mutable std::vector<IWaiter*> m_waiters TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope::Plugins

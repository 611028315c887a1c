#pragma once

#include <windows.h>

#include "terrascope/support/LiveCount.h"

namespace Terrascope {

/// Base of every worker thread: one operating-system thread and one named manual-reset event that
/// asks it to stop. A derived class writes its body in Run and polls ShouldStop there.
///
/// Owns:    the thread and the event.
/// Threads: Start, Stop and IsFinished on the owning thread; ShouldStop on the worker.
/// Errors:  none is reported. Without an event ShouldStop is true; without a thread IsFinished is.
///          An exception that leaves Run ends the thread.
/// Ends:    Stop waits at most 10 s. A body that does not end by then goes on running with its
///          handles kept; the object must then outlive it (IsFinished tells).
///          A derived class must call Stop in its own destructor: here its Run is gone already.
class CThread : public CLiveCount<CThread> {
public:
    CThread() = default;
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;
    virtual ~CThread();

    /// The thread's body; its result is ignored.
    virtual DWORD Run() = 0;

    /// Starts the thread. Does nothing while a thread's handle is held, also after a Stop that
    /// timed out.
    void Start();

    /// Asks the thread to stop and waits for its end, 10000 ms at most.
    void Stop();

    /// Whether the thread has been asked to stop; waits up to `timeout` milliseconds for that.
    bool ShouldStop(DWORD timeout) const;

    /// Whether no thread is running; waits 1 ms for its end.
    bool IsFinished() const;

    /// Whether a thread's handle is held: after Start, false when the system had none to give.
    bool HasThread() const { return m_thread != nullptr; }

private:
    void CreateStopEvent();
    void CloseStopEvent();
    static DWORD WINAPI Entry(void* parameter);

    HANDLE m_stopEvent = nullptr;
    HANDLE m_thread = nullptr;
    DWORD m_threadId = 0;
};

}  // namespace Terrascope

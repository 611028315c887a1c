#pragma once

#include <afx.h>
#include <afxmt.h>

#include <deque>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "plugins/common/kept/Signal.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Runs tasks one after the other on a thread of its own, which begins with the first one.
///
/// Threads: any; a task runs under no lock. What it throws is logged.
/// Ends:    End drops what waits and waits for the task that runs; no task begins after it.
class CBackgroundTasks {
public:
    CBackgroundTasks() = default;
    ~CBackgroundTasks() { End(); }
    CBackgroundTasks(const CBackgroundTasks&) = delete;
    CBackgroundTasks& operator=(const CBackgroundTasks&) = delete;

    /// Passed over when a task of that name waits or runs, and when too many wait.
    void Add(const std::string& name, std::function<void()> task);
    void End();

private:
    void RunAll();

    CSignal m_hasTask{CSignal::OneWait};
    CSignal m_ends{CSignal::ForGood};
    CCriticalSection m_lock;
    std::deque<std::pair<std::string, std::function<void()>>> m_tasks TERRASCOPE_GUARDED_BY(m_lock);
    std::set<std::string> m_names TERRASCOPE_GUARDED_BY(m_lock);  ///< the running one's too
    std::thread m_thread TERRASCOPE_GUARDED_BY(m_lock);
    bool m_hasEnded TERRASCOPE_GUARDED_BY(m_lock) = false;
};

}  // namespace Terrascope::Plugins

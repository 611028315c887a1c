#pragma once

#include <afxmt.h>

#include <deque>
#include <map>
#include <string>

#include "plugins/web/Clock.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// The addresses where a server has nothing, each for ten minutes. Of more than 8192, the oldest
/// are forgotten. Borrows: the clock. Threads: any.
class AbsentAddresses {
public:
    explicit AbsentAddresses(Clock& clock) : m_clock(clock) {}

    void Add(const std::string& address);
    bool Has(const std::string& address);

private:
    Clock& m_clock;
    CCriticalSection m_lock;
    std::map<std::string, Milliseconds> m_until TERRASCOPE_GUARDED_BY(m_lock);
    std::deque<std::string> m_byAge TERRASCOPE_GUARDED_BY(m_lock);  ///< the oldest first
};

}  // namespace Terrascope::Plugins

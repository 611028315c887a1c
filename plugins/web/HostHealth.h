#pragma once

#include <afxmt.h>

#include <map>
#include <string>

#include "plugins/web/Clock.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Which hosts are worth asking. One that failed five times in a row is left alone for two seconds;
/// then one request may find out whether it is back. Each failure from there doubles the time, to
/// a minute at most.
///
/// Borrows: the clock. Threads: any. Hosts are "https://example.org:8443"; of more than 256, those
/// that are asked again soonest are forgotten.
class HostHealth {
public:
    explicit HostHealth(Clock& clock) : m_clock(clock) {}

    /// Whether a request may go to the host now. If so, its end is to be reported.
    bool MayAsk(const std::string& host);

    /// Whether none may now.
    bool IsLeftAlone(const std::string& host);

    void Answered(const std::string& host);
    /// Returns for how long the host is left alone now; 0: it is not.
    Milliseconds Failed(const std::string& host);
    /// The request ended for reasons of the asker's.
    void Undecided(const std::string& host);
    /// The host itself asked for a pause. At most an hour is kept.
    void AskedForPause(const std::string& host, Milliseconds duration);

private:
    struct State {
        int failures = 0;        ///< in a row
        Milliseconds rest = 0;   ///< the last one
        Milliseconds until = 0;  ///< left alone
        bool isOnTrial = false;  ///< one request finds out whether the host is back
    };
    State& StateOf(const std::string& host) TERRASCOPE_REQUIRES(m_lock);

    Clock& m_clock;
    CCriticalSection m_lock;
    std::map<std::string, State> m_hosts TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope::Plugins

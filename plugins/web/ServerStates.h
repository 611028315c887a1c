#pragma once

#include <afxmt.h>

#include <cstdint>
#include <map>
#include <string>

#include "plugins/web/Clock.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// What is wrong with the servers, by the last answer of each.
struct ServerState {
    enum Kind {
        Fine = 0,
        Failing = 1,       ///< a server answers, but not with what it ought to
        NoConnection = 2,  ///< the failing ones cannot be reached at all
    };
    Kind kind = Fine;
    std::string
        text;  ///< one line of ASCII, about the one that failed last; empty when all is fine
};

/// Remembers of each host whether its last request failed, for two minutes: a host that nobody asks
/// any more, such as that of a mistyped address, does not count for ever. Of more than 64, the
/// oldest failures are forgotten.
///
/// Borrows: the clock. Threads: any; nobody else is called under the lock.
class CServerStates {
public:
    explicit CServerStates(Clock& clock) : m_clock(clock) {}

    /// `host` is a request's origin, "https://example.org:8443"; `reason` has no query of an
    /// address.
    void Failed(const std::string& host, bool isUnreachable, bool isLeftAlone,
                const std::string& reason);
    void Answered(const std::string& host);
    /// The host was not asked, since it is left alone: if it has failed, it still does.
    void NotAsked(const std::string& host);

    /// A host that can be reached, but fails, goes before those that cannot be reached.
    ServerState Now();

private:
    struct Failure {
        std::uint64_t order = 0;  ///< of the failures: the highest is the last
        ServerState state;
        Milliseconds end = 0;  ///< it counts until then
    };
    Clock& m_clock;
    CCriticalSection m_lock;
    std::uint64_t m_failures TERRASCOPE_GUARDED_BY(m_lock) = 0;
    std::map<std::string, Failure> m_failing TERRASCOPE_GUARDED_BY(m_lock);
};

/// A state as the plug-in's export hands it over: its number, and its text with a zero behind it,
/// cut where the buffer ends. `text` may be null; `size` is that of the buffer in bytes.
int HandOver(const ServerState& state, char* text, int size);

}  // namespace Terrascope::Plugins

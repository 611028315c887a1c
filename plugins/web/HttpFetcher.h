#pragma once

#include "plugins/web/AbsentAddresses.h"
#include "plugins/web/Clock.h"
#include "plugins/web/HostHealth.h"
#include "plugins/web/HttpTransfer.h"
#include "plugins/web/ServerStates.h"

namespace Terrascope::Plugins {

/// Tiles end before a display gives up a loading thread (10 s).
inline constexpr HttpLimits kTileLimits{4000, 6000, 8000, std::size_t{16} * 1024 * 1024, true};
inline constexpr HttpLimits kDocumentLimits{4000, 6000, 15000, std::size_t{8} * 1024 * 1024};

/// What each request of a provider carries, from its settings.
struct HttpIdentity {
    HttpHeaders headers;      ///< "User-Agent", and the keys of paid services: never logged
    bool onlySecure = false;  ///< headers other than "User-Agent" are not sent over http
    std::string origin;       ///< ... and go nowhere else; empty: wherever a request goes at first
};

enum class HttpOutcome {
    Here,
    NotModified,  ///< 304, when it was asked for
    Absent,       ///< the server has nothing there: 404, 410, 204
    Failed,       ///< now; it may be there later
    Cancelled,
};

struct HttpResult {
    HttpOutcome outcome = HttpOutcome::Failed;
    HttpAddress address;    ///< after redirects
    HttpResponse response;  ///< with a body when it is here
    std::string reason;     ///< of a failure, for the log; without the query of any address
};

/// Gets what is at an address, and spares the servers: follows up to five redirects, never from
/// https to http; repeats twice what a server could not do now (429, 5xx), after the pause that it
/// asks for; leaves hosts alone that fail; does not ask again for what is absent.
///
/// A redirect to another origin takes "User-Agent" with it and the headers of the request itself
/// (such as "Range"), but no other header of the identity, and none that compares with what is
/// known of the first one: that goes to no later address either.
///
/// Owns:    what is remembered of hosts and addresses. Borrows: the clock.
/// Threads: any.
class HttpFetcher {
public:
    explicit HttpFetcher(Clock& clock)
        : m_clock(clock), m_hosts(clock), m_absent(clock), m_states(clock) {}

    /// For all providers of the process: what a server has not got, it has for none of them.
    static HttpFetcher& OfProcess();

    /// What is wrong with the servers, by about the last two minutes. Never waits for one.
    ServerState State() { return m_states.Now(); }

    /// The time by which the answers' `received` is stated.
    UnixSeconds Utc() { return m_clock.Utc(); }

    /// `extra` are headers of this request alone.
    HttpResult Fetch(const HttpAddress& address, const HttpIdentity& identity,
                     const HttpLimits& limits, const Cancellation& cancellation,
                     const HttpHeaders& extra = {});

    /// The answer that came from there is not what the asker can use: its server counts as failing
    /// until it answers the next time. `reason` has no query of an address.
    void Refused(const HttpAddress& from, const std::string& reason);

private:
    HttpResult FollowRedirects(const HttpAddress& address, const HttpIdentity& identity,
                               const HttpHeaders& extra, const HttpLimits& limits, Milliseconds end,
                               const Cancellation& cancellation);
    HttpResult Refusal(const HttpAddress& from, const std::string& reason);
    void Report(const HttpResult& result);

    Clock& m_clock;
    HostHealth m_hosts;
    AbsentAddresses m_absent;
    CServerStates m_states;
};

}  // namespace Terrascope::Plugins

#pragma once

#include <windows.h>

#include <winhttp.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "plugins/web/Cancellation.h"
#include "plugins/web/Clock.h"
#include "plugins/web/HttpAddress.h"
#include "plugins/web/HttpDate.h"

namespace Terrascope::Plugins {

/// How long the steps of a request may take, and how large its answer may be.
struct HttpLimits {
    Milliseconds connect = 0;    ///< until the request has been sent
    Milliseconds firstByte = 0;  ///< from then until the answer's headers are there
    Milliseconds total = 0;      ///< with redirects, pauses and repetitions
    std::size_t bytes = 0;
    bool remembersAbsence = false;  ///< what was absent is not asked for again for ten minutes
};

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
    HttpAddress address;
    HttpHeaders headers;  ///< beside those that each request has
};

/// What came back. Without a status nothing usable did, and `failure` is why.
struct HttpResponse {
    int status = 0;
    bool wasCancelled = false;
    bool isOurRefusal = false;   ///< the failure says nothing of the host
    bool isUnreachable = false;  ///< there was no connection at all
    bool wasHungUp =
        false;  ///< the connection ended before an answer: a kept one may have been old
    std::string failure;
    /// Names in small letters; the last of each, but all of "cache-control" with commas between.
    std::map<std::string, std::string> headers;
    std::vector<std::uint8_t> body;
    UnixSeconds received = 0;  ///< when it came, by our clock

    /// Last-Modified; 0 when it is not stated.
    UnixSeconds LastModified() const {
        return ParseHttpDate(Header("last-modified"), received).value_or(0);
    }
    bool Has(const char* name) const { return headers.contains(name); }
    /// Empty when there is no such header.
    std::string Header(const char* name) const {
        const auto found = headers.find(name);
        return found != headers.end() ? found->second : std::string();
    }
};

/// Sends one request and waits for the whole answer; redirects are answers here. The body of an
/// answer other than 200 and 206 is not read. An answer whose length differs from the one that its
/// header announces, or that is longer than the limit, is a failure.
///
/// WinHTTP works for it in asynchronous mode: when the caller leaves early, because it was
/// cancelled or a limit is over, the request ends behind it, and what it still writes to outlives
/// it. The code of this module must then stay in memory: see HttpSession.
///
/// Threads: any; the caller's waits. `session` is one of HttpSession.
HttpResponse Transfer(HINTERNET session, const HttpRequest& request, const HttpLimits& limits,
                      const Cancellation& cancellation);

/// The WinHTTP session of the process, in asynchronous mode, with the system's proxy; made at the
/// first call. From then on this module stays in the process: an end of the session would have to
/// wait for requests that have ended behind their callers. Null when there is no WinHTTP.
HINTERNET HttpSession();

}  // namespace Terrascope::Plugins

#include "plugins/web/HttpFetcher.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {
namespace {

constexpr int kMostRedirects = 5;
constexpr int kRepetitions = 2;
constexpr Milliseconds kFirstPause = 250;  // four times as long before the second repetition
constexpr Milliseconds kClockStep = 20;
constexpr int kTooManyRequests = 429;

bool IsRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// What the server cannot do now, but perhaps soon.
bool IsForNow(int status) {
    return status == kTooManyRequests || status == 500 || status == 502 || status == 503 ||
           status == 504;
}

/// The headers by which a server compares what the asker knows.
bool IsCondition(const std::pair<std::string, std::string>& header) {
    return header.first == "If-None-Match" || header.first == "If-Modified-Since";
}

bool IsRange(const std::pair<std::string, std::string>& header) {
    return header.first == "Range";
}

/// Whether a request without the header that asks for it has got such an answer: a part, or that
/// what the asker knows is right.
bool IsUnasked(int status, const HttpHeaders& sent) {
    return (status == 304 && std::none_of(sent.begin(), sent.end(), &IsCondition)) ||
           (status == 206 && std::none_of(sent.begin(), sent.end(), &IsRange));
}

HttpOutcome OutcomeOf(const HttpResponse& response, const HttpHeaders& sent) {
    if (response.wasCancelled) {
        return HttpOutcome::Cancelled;
    }
    if (IsUnasked(response.status, sent)) {
        return HttpOutcome::Failed;
    }
    switch (response.status) {
        case 200:
        case 206:
            return HttpOutcome::Here;
        case 304:
            return HttpOutcome::NotModified;
        case 204:
        case 404:
        case 410:
            return HttpOutcome::Absent;
        default:
            return HttpOutcome::Failed;
    }
}

/// What Retry-After states, in seconds or as a date; a date counts from the server's own, where
/// there is one, since clocks differ. Nothing for one that is past: the pause is ours then.
std::optional<Milliseconds> AskedPause(const HttpResponse& response) {
    constexpr UnixSeconds kDay = 86'400;
    const std::string text = response.Header("retry-after");
    UnixSeconds seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || seconds < 0) {
        const auto date = ParseHttpDate(text, response.received);
        const auto now = ParseHttpDate(response.Header("date"), response.received);
        seconds = date.value_or(0) - now.value_or(response.received);
        if (!date || seconds <= 0) {
            return std::nullopt;
        }
    }
    return std::min(seconds, kDay) * 1000;
}

HttpHeaders HeadersFor(const HttpIdentity& identity, const HttpHeaders& extra,
                       const HttpAddress& to, const HttpAddress& first) {
    const std::string own = identity.origin.empty() ? first.Origin() : identity.origin;
    const bool isOtherOrigin = to.Origin() != own;
    HttpHeaders headers;
    for (const auto& header : identity.headers) {
        const bool isPublic = header.first == "User-Agent";
        if (isPublic || (!isOtherOrigin && (to.isSecure || !identity.onlySecure))) {
            headers.push_back(header);
        }
    }
    headers.insert(headers.end(), extra.begin(), extra.end());
    return headers;
}

std::string ReasonOf(const HttpResponse& failed) {
    if (failed.status == 0) {
        return failed.failure;
    }
    const bool isUnasked = failed.status == 206 || failed.status == 304;
    return "status " + std::to_string(failed.status) + (isUnasked ? " without being asked" : "");
}

HttpResult Failure(const HttpAddress& address, std::string reason) {
    HttpResult result;
    result.address = address;
    result.reason = std::move(reason);
    return result;
}

}  // namespace

HttpFetcher& HttpFetcher::OfProcess() {
    // Never destroyed: a fetch may outlive the module's end at the end of the process.
    static Clock* const clock = new Clock;
    static HttpFetcher* const fetcher = new HttpFetcher(*clock);
    return *fetcher;
}

HttpResult HttpFetcher::Fetch(const HttpAddress& address, const HttpIdentity& identity,
                              const HttpLimits& limits, const Cancellation& cancellation,
                              const HttpHeaders& extra) {
    const std::string text = address.Text();
    if (limits.remembersAbsence && m_absent.Has(text)) {
        HttpResult absent = Failure(address, "it is known to be absent");
        absent.outcome = HttpOutcome::Absent;
        return absent;
    }
    const Milliseconds end = m_clock.Now() + limits.total;
    Milliseconds pause = kFirstPause;
    for (int repetition = 0;; ++repetition) {
        HttpResult result = FollowRedirects(address, identity, extra, limits, end, cancellation);
        if (limits.remembersAbsence && result.outcome == HttpOutcome::Absent) {
            m_absent.Add(text);
        }
        if (!IsForNow(result.response.status) || repetition == kRepetitions) {
            return result;
        }
        // The clock has steps of 16 ms, and the host is not asked before its time.
        const Milliseconds asked = AskedPause(result.response).value_or(pause) + kClockStep;
        pause *= 4;
        if (m_clock.Now() + asked >= end) {
            return result;
        }
        if (!m_clock.Rest(asked, cancellation)) {
            result.outcome = HttpOutcome::Cancelled;
            return result;
        }
    }
}

HttpResult HttpFetcher::FollowRedirects(const HttpAddress& address, const HttpIdentity& identity,
                                        const HttpHeaders& extra, const HttpLimits& limits,
                                        Milliseconds end, const Cancellation& cancellation) {
    HttpResult result;
    result.address = address;
    HttpHeaders own = extra;
    for (int redirects = 0;; ++redirects) {
        const std::string origin = result.address.Origin();
        if (!m_hosts.MayAsk(origin)) {
            m_states.NotAsked(origin);
            return Failure(result.address, "its host is left alone for a while");
        }
        const HttpRequest request{result.address,
                                  HeadersFor(identity, own, result.address, address)};
        // A kept connection may have ended a moment ago; the second one is new.
        for (int attempt = 0; attempt == 0 || (attempt == 1 && result.response.wasHungUp);
             ++attempt) {
            HttpLimits left = limits;
            left.total = std::max<Milliseconds>(end - m_clock.Now(), 0);
            result.response = Transfer(HttpSession(), request, left, cancellation);
            result.response.received = m_clock.Utc();
        }
        result.outcome = OutcomeOf(result.response, request.headers);
        Report(result);
        if (!IsRedirect(result.response.status)) {
            break;
        }
        const auto next = result.address.Resolve(result.response.Header("location"));
        if (!next || !result.address.MayLeadTo(*next)) {
            return Refusal(result.address, "it leads where no redirect may lead");
        }
        if (redirects == kMostRedirects) {
            return Refusal(result.address, "there are too many redirects");
        }
        if (next->Origin() != origin) {
            // What is known came from here: another server's tag may be the same by chance.
            std::erase_if(own, &IsCondition);
        }
        result.address = *next;
    }
    if (result.outcome == HttpOutcome::Failed) {
        result.reason = ReasonOf(result.response);
    }
    return result;
}

void HttpFetcher::Refused(const HttpAddress& from, const std::string& reason) {
    const std::string origin = from.Origin();
    m_states.Failed(origin, false, m_hosts.IsLeftAlone(origin), reason);
}

HttpResult HttpFetcher::Refusal(const HttpAddress& from, const std::string& reason) {
    Refused(from, reason);
    return Failure(from, reason);
}

void HttpFetcher::Report(const HttpResult& result) {
    const std::string origin = result.address.Origin();
    const int status = result.response.status;
    if (result.outcome == HttpOutcome::Cancelled || result.response.isOurRefusal) {
        m_hosts.Undecided(origin);
        return;
    }
    const bool isForNow = IsForNow(status);
    const auto asked = isForNow ? AskedPause(result.response) : std::nullopt;
    const std::string reason = ReasonOf(result.response);
    if (asked) {
        m_hosts.AskedForPause(origin, *asked);
    } else if (status != 0 && !isForNow) {
        m_hosts.Answered(origin);
    } else if (const Milliseconds rest = m_hosts.Failed(origin); rest > 0) {
        LogLine("%s is left alone for %d s: %s", origin.c_str(), static_cast<int>(rest / 1000),
                reason.c_str());
    }
    if (result.outcome == HttpOutcome::Failed && !IsRedirect(status)) {
        m_states.Failed(origin, result.response.isUnreachable, m_hosts.IsLeftAlone(origin), reason);
    } else {
        m_states.Answered(origin);
    }
}

}  // namespace Terrascope::Plugins

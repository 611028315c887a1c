#include "plugins/web/HttpByteSource.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

#include "plugins/web/CacheHeaders.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kStart = std::uint64_t{16} * 1024;
constexpr int kOk = 200;
constexpr int kPartialContent = 206;
/// So long may an archive take to be opened, by what is read once.
constexpr UnixSeconds kOpening = kDocumentLimits.total / 1000;

/// The innermost of this thread; null: none.
thread_local CHttpByteSource::CReadScope* t_scope = nullptr;

/// "bytes first-last/size".
struct ContentRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint64_t size = 0;
};

/// Nothing for any other text, and where the size is not stated.
std::optional<ContentRange> ParseContentRange(const std::string& text) {
    constexpr std::string_view kUnit = "bytes ";
    if (!text.starts_with(kUnit)) {
        return std::nullopt;
    }
    const char* at = text.data() + kUnit.size();
    const char* const end = text.data() + text.size();
    ContentRange range;
    for (const auto& [number, behind] : {std::pair(&range.first, '-'), std::pair(&range.last, '/'),
                                         std::pair(&range.size, '\0')}) {
        const auto [next, error] = std::from_chars(at, end, *number);
        if (error != std::errc() || (next == end ? '\0' : *next) != behind) {
            return std::nullopt;
        }
        at = next == end ? end : next + 1;
    }
    return range.first <= range.last && range.last < range.size ? std::optional(range)
                                                                : std::nullopt;
}

/// What changes with the file. A weak entity tag cannot be compared for ranges.
std::string VersionOf(const HttpResponse& response) {
    const std::string tag = response.Header("etag");
    return !tag.empty() && !tag.starts_with("W/") ? tag : response.Header("last-modified");
}

/// The headers alone.
HttpResponse WithoutBody(const HttpResponse& response) {
    HttpResponse headers;
    headers.headers = response.headers;
    headers.received = response.received;
    return headers;
}

/// Whether the answer is that range of a file of that size; its length is right then.
bool IsRange(const HttpResult& result, std::uint64_t offset, std::uint64_t count,
             std::uint64_t size) {
    const auto range = ParseContentRange(result.response.Header("content-range"));
    return result.outcome == HttpOutcome::Here && result.response.status == kPartialContent &&
           range && range->first == offset && range->last - range->first + 1 == count &&
           range->size == size && result.response.body.size() == count;
}

/// Why an answer is none of the range that was asked for.
std::string WhyNot(const HttpResult& result) {
    switch (result.outcome) {
        case HttpOutcome::Failed:
            return result.reason;
        case HttpOutcome::Absent:
            return "the file is absent now";
        default:
            return "the file there is another one now";
    }
}

}  // namespace

CHttpByteSource::CReadScope::CReadScope(const Cancellation& cancellation, Milliseconds time)
    : m_cancellation(cancellation),
      m_end(::GetTickCount64() + static_cast<ULONGLONG>(time)),
      m_former(t_scope) {
    t_scope = this;
}

CHttpByteSource::CReadScope::~CReadScope() {
    t_scope = m_former;
}

std::unique_ptr<CHttpByteSource> CHttpByteSource::Open(const HttpAddress& address,
                                                       const WebAccess& access,
                                                       const Cancellation& cancellation,
                                                       std::string& reason) {
    std::unique_ptr<CHttpByteSource> source(new CHttpByteSource(address, access));
    HttpResult result = source->Fetch(0, kStart, kTileLimits.total, cancellation);
    if (result.outcome != HttpOutcome::Here) {
        reason = result.outcome == HttpOutcome::Absent ? "it is absent" : result.reason;
        return nullptr;
    }
    reason.clear();
    const std::vector<std::uint8_t>& body = result.response.body;
    source->m_size = body.size();
    if (result.response.status == kPartialContent) {
        const auto range = ParseContentRange(result.response.Header("content-range"));
        source->m_size = range ? range->size : 0;
        if (!range || !IsRange(result, 0, std::min(kStart, range->size), range->size)) {
            reason = "its server delivers another range than it was asked for";
        }
    } else if (body.size() > kStart) {
        reason = "its server delivers no ranges";
    }
    if (!reason.empty()) {
        access.fetcher.Refused(result.address, reason);
        return nullptr;
    }
    source->m_version = VersionOf(result.response);
    source->m_first = std::move(result.response);
    source->m_firstEnd =
        std::max(FreshnessOf(source->m_first).expires, source->m_first.received + kOpening);
    return source;
}

HttpResult CHttpByteSource::Fetch(std::uint64_t offset, std::uint64_t count, Milliseconds time,
                                  const Cancellation& cancellation) const {
    HttpHeaders headers{
        {"Range", "bytes=" + std::to_string(offset) + "-" + std::to_string(offset + count - 1)}};
    if (!m_version.empty()) {
        headers.emplace_back("If-Range", m_version);
    }
    HttpLimits limits = kTileLimits;
    // The file is there: a range beyond its end is not to be remembered as absent.
    limits.remembersAbsence = false;
    limits.total = std::min(limits.total, time);
    return m_access.fetcher.Fetch(m_address, m_access.identity, limits, cancellation, headers);
}

bool CHttpByteSource::Read(std::uint64_t offset, std::span<std::uint8_t> buffer) {
    if (offset > m_size || buffer.size() > m_size - offset) {
        return false;
    }
    if (buffer.empty()) {
        return true;
    }
    if (t_scope == nullptr) {
        static const Cancellation never;
        const CReadScope scope(never, kTileLimits.total);
        return Read(offset, buffer);
    }
    CReadScope& own = *t_scope;
    const bool isFresh = m_access.fetcher.Utc() < m_firstEnd;
    if (isFresh && offset + buffer.size() <= m_first.body.size()) {
        std::memcpy(buffer.data(), m_first.body.data() + offset, buffer.size());
        own.m_last = WithoutBody(m_first);
        return true;
    }
    const ULONGLONG now = ::GetTickCount64();
    if (own.m_end <= now) {
        own.m_failure = "it takes too long";
        return false;
    }
    const HttpResult result = Fetch(offset, buffer.size(),
                                    static_cast<Milliseconds>(own.m_end - now), own.m_cancellation);
    // A small file may come as a whole, as it did at first.
    const bool isWhole = m_first.body.size() == m_size && result.outcome == HttpOutcome::Here &&
                         result.response.status == kOk && result.response.body.size() == m_size;
    if ((!isWhole && !IsRange(result, offset, buffer.size(), m_size)) ||
        VersionOf(result.response) != m_version) {
        own.m_failure = WhyNot(result);
        if (result.outcome == HttpOutcome::Here || result.outcome == HttpOutcome::Absent) {
            m_access.fetcher.Refused(result.address, own.m_failure);
        }
        return false;
    }
    std::memcpy(buffer.data(), result.response.body.data() + (isWhole ? offset : 0), buffer.size());
    own.m_last = WithoutBody(result.response);
    return true;
}

}  // namespace Terrascope::Plugins

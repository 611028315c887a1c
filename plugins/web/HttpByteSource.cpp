#include "plugins/web/HttpByteSource.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <optional>

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kStart = std::uint64_t{16} * 1024;
constexpr int kPartialContent = 206;

/// The innermost CEndsWith of this thread; null: none.
thread_local const Cancellation* t_cancellation = nullptr;
/// When its reads are to end, in milliseconds of GetTickCount64.
thread_local ULONGLONG t_end = ULLONG_MAX;

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

/// Whether the answer is that range of a file of that size; its length is right then.
bool IsRange(const HttpResult& result, std::uint64_t offset, std::uint64_t count,
             std::uint64_t size) {
    const auto range = ParseContentRange(result.response.Header("content-range"));
    return result.outcome == HttpOutcome::Here && result.response.status == kPartialContent &&
           range && range->first == offset && range->last - range->first + 1 == count &&
           range->size == size && result.response.body.size() == count;
}

}  // namespace

CHttpByteSource::CEndsWith::CEndsWith(const Cancellation& cancellation, Milliseconds time)
    : m_former(t_cancellation), m_formerEnd(t_end) {
    t_cancellation = &cancellation;
    t_end = ::GetTickCount64() + static_cast<ULONGLONG>(time);
}

CHttpByteSource::CEndsWith::~CEndsWith() {
    t_cancellation = m_former;
    t_end = m_formerEnd;
}

std::unique_ptr<CHttpByteSource> CHttpByteSource::Open(const HttpAddress& address,
                                                       const WebAccess& access,
                                                       const Cancellation& cancellation,
                                                       std::string& reason) {
    std::unique_ptr<CHttpByteSource> source(new CHttpByteSource(address, access));
    HttpResult result = source->Fetch(0, kStart, cancellation);
    if (result.outcome != HttpOutcome::Here) {
        reason = result.outcome == HttpOutcome::Absent ? "it is absent" : result.reason;
        return nullptr;
    }
    std::vector<std::uint8_t>& body = result.response.body;
    source->m_size = body.size();
    if (result.response.status == kPartialContent) {
        const auto range = ParseContentRange(result.response.Header("content-range"));
        source->m_size = range ? range->size : 0;
        if (!range || !IsRange(result, 0, std::min(kStart, range->size), range->size)) {
            reason = "its server delivers another range than it was asked for";
            return nullptr;
        }
    } else if (body.size() > kStart) {
        reason = "its server delivers no ranges";
        return nullptr;
    }
    source->m_version = VersionOf(result.response);
    source->m_start = std::move(body);
    return source;
}

HttpResult CHttpByteSource::Fetch(std::uint64_t offset, std::uint64_t count,
                                  const Cancellation& cancellation) const {
    HttpHeaders headers{
        {"Range", "bytes=" + std::to_string(offset) + "-" + std::to_string(offset + count - 1)}};
    if (!m_version.empty()) {
        headers.emplace_back("If-Range", m_version);
    }
    HttpLimits limits = kTileLimits;
    // The file is there: a range beyond its end is not to be remembered as absent.
    limits.remembersAbsence = false;
    const ULONGLONG now = ::GetTickCount64();
    const ULONGLONG left = t_end > now ? t_end - now : 0;
    if (left < static_cast<ULONGLONG>(limits.total)) {
        limits.total = static_cast<Milliseconds>(left);
    }
    return m_access.fetcher.Fetch(m_address, m_access.identity, limits, cancellation, headers);
}

bool CHttpByteSource::Read(std::uint64_t offset, std::span<std::uint8_t> buffer) {
    if (offset > m_size || buffer.size() > m_size - offset) {
        return false;
    }
    if (buffer.empty()) {
        return true;
    }
    if (offset + buffer.size() <= m_start.size()) {
        std::memcpy(buffer.data(), m_start.data() + offset, buffer.size());
        return true;
    }
    static const Cancellation never;
    const HttpResult result =
        Fetch(offset, buffer.size(), t_cancellation != nullptr ? *t_cancellation : never);
    if (!IsRange(result, offset, buffer.size(), m_size) ||
        VersionOf(result.response) != m_version) {
        return false;
    }
    std::memcpy(buffer.data(), result.response.body.data(), buffer.size());
    return true;
}

}  // namespace Terrascope::Plugins

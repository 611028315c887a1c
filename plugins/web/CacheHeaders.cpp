#include "plugins/web/CacheHeaders.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "plugins/web/HttpDate.h"

namespace Terrascope::Plugins {
namespace {

constexpr UnixSeconds kDay = 86'400;
constexpr UnixSeconds kUsual = 7 * kDay;
constexpr UnixSeconds kLongest = 365 * kDay;
constexpr std::size_t kLongestTag = 256;  // bytes

bool EqualsIgnoringCase(std::string_view text, std::string_view small) {
    return std::equal(text.begin(), text.end(), small.begin(), small.end(), [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

std::string_view WithoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

/// A whole number of seconds, at most a year; nothing for any other text.
std::optional<UnixSeconds> Seconds(std::string_view text) {
    const bool isNumber =
        !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
    if (!isNumber) {
        return std::nullopt;
    }
    UnixSeconds seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    return error == std::errc() ? std::min(seconds, kLongest) : kLongest;
}

struct CacheControl {
    bool isNoStore = false;
    bool isNoCache = false;
    std::optional<UnixSeconds> maxAge;  ///< 0: it is stated, but cannot be read
};

void TakeDirective(std::string_view directive, CacheControl& control) {
    const std::size_t equals = std::min(directive.find('='), directive.size());
    const std::string_view name = WithoutBlanks(directive.substr(0, equals));
    std::string_view value =
        WithoutBlanks(directive.substr(std::min(equals + 1, directive.size())));
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
    }
    if (EqualsIgnoringCase(name, "no-store")) {
        control.isNoStore = true;
    } else if (EqualsIgnoringCase(name, "no-cache")) {
        control.isNoCache = true;
    } else if (EqualsIgnoringCase(name, "max-age") && !control.maxAge) {
        control.maxAge = Seconds(value).value_or(0);
    }
}

CacheControl ParseCacheControl(std::string_view text) {
    CacheControl control;
    bool isQuoted = false;
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || (text[i] == ',' && !isQuoted)) {
            TakeDirective(text.substr(begin, i - begin), control);
            begin = i + 1;
        } else if (text[i] == '"') {
            isQuoted = !isQuoted;
        } else if (text[i] == '\\' && isQuoted && i + 1 < text.size()) {
            ++i;
        }
    }
    return control;
}

/// How long an answer is fresh; nothing when it does not state it.
std::optional<UnixSeconds> StatedLifetime(const HttpResponse& response,
                                          const CacheControl& control) {
    const UnixSeconds age = Seconds(response.Header("age")).value_or(0);
    if (control.isNoCache) {
        return 0;
    }
    if (control.maxAge) {
        return *control.maxAge - age;
    }
    if (!response.Has("expires")) {
        return std::nullopt;
    }
    const auto expires = ParseHttpDate(response.Header("expires"), response.received);
    const auto date = ParseHttpDate(response.Header("date"), response.received);
    if (!expires) {
        return 0;  // "0" is what many servers have there
    }
    return date ? *expires - *date - age : *expires - response.received;
}

/// An entity tag: neither a list of them, nor the asterisk that any tag answers to.
bool IsEntityTag(std::string_view text) {
    if (text.starts_with("W/")) {
        text.remove_prefix(2);
    }
    return text.size() >= 2 && text.size() <= kLongestTag && text.front() == '"' &&
           text.find('"', 1) == text.size() - 1 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

std::string If(bool condition, const std::string& text) {
    return condition ? text : std::string();
}

TileFreshness Make(const HttpResponse& response, UnixSeconds usualLifetime) {
    const CacheControl control = ParseCacheControl(response.Header("cache-control"));
    const std::string tag = response.Header("etag");
    const std::string time = response.Header("last-modified");
    TileFreshness freshness;
    freshness.mayBeKept = !control.isNoStore;
    freshness.entityTag = If(IsEntityTag(tag), tag);
    freshness.lastModified = If(ParseHttpDate(time, response.received).has_value(), time);
    freshness.fetched = response.received;
    const UnixSeconds lifetime = std::clamp<UnixSeconds>(
        StatedLifetime(response, control).value_or(usualLifetime), 0, kLongest);
    // 0 has another meaning there.
    freshness.expires = std::max<UnixSeconds>(response.received + lifetime, 1);
    return freshness;
}

}  // namespace

TileFreshness FreshnessOf(const HttpResponse& response) {
    return Make(response, kUsual);
}

TileFreshness Renewed(const TileFreshness& known, const HttpResponse& notModified) {
    const bool hasLifetime = known.fetched > 0 && known.expires >= known.fetched;
    TileFreshness renewed = Make(notModified, hasLifetime ? known.expires - known.fetched : kUsual);
    if (renewed.entityTag.empty()) {
        renewed.entityTag = If(IsEntityTag(known.entityTag), known.entityTag);
    }
    if (renewed.lastModified.empty()) {
        const auto time = ParseHttpDate(known.lastModified, notModified.received);
        renewed.lastModified = If(time.has_value(), known.lastModified);
    }
    return renewed;
}

HttpHeaders ConditionsOf(const TileFreshness& known) {
    HttpHeaders headers;
    if (IsEntityTag(known.entityTag)) {
        headers.emplace_back("If-None-Match", known.entityTag);
    }
    // No year of two digits is to be understood otherwise later.
    if (ParseHttpDate(known.lastModified, 0)) {
        headers.emplace_back("If-Modified-Since", known.lastModified);
    }
    return headers;
}

}  // namespace Terrascope::Plugins

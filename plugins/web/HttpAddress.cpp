#include "plugins/web/HttpAddress.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongest = 4096;
constexpr std::uint16_t kPlainPort = 80;
constexpr std::uint16_t kSecurePort = 443;

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
std::string Lowered(std::string_view text) {
    std::string lowered(text);
    for (char& c : lowered) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lowered;
}

/// Where the scheme's colon is; npos when the text has no scheme.
std::size_t SchemeEnd(std::string_view text) {
    const std::size_t end = text.find_first_of(":/?#");
    const bool has =
        end != std::string_view::npos && end > 0 && text[end] == ':' && IsLetter(text[0]) &&
        std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), [](char c) {
            return IsLetter(c) || IsDigit(c) || c == '+' || c == '-' || c == '.';
        });
    return has ? end : std::string_view::npos;
}

bool IsHost(std::string_view host) {
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        return host.find_first_not_of("0123456789abcdefABCDEF:.", 1) == host.size() - 1;
    }
    return !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
        return IsLetter(c) || IsDigit(c) || c == '.' || c == '-' || c == '_';
    });
}

std::string Escaped(std::string_view text) {
    constexpr std::string_view kNever = "\"<>\\^`{|}";
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string escaped;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= ' ' || byte >= 0x7F || kNever.find(c) != std::string_view::npos) {
            escaped += {'%', kDigits[byte / 16], kDigits[byte % 16]};
        } else {
            escaped += c;
        }
    }
    return escaped;
}

/// A path without "." and ".." segments.
std::string WithoutDots(std::string_view path) {
    std::vector<std::string_view> segments;
    bool endsInFolder = false;
    for (std::size_t begin = 1; begin <= path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string_view segment = path.substr(begin, end - begin);
        endsInFolder = segment == "." || segment == "..";
        if (segment == ".." && !segments.empty()) {
            segments.pop_back();
        } else if (!endsInFolder) {
            segments.push_back(segment);
        }
        begin = end + 1;
    }
    std::string plain;
    for (const std::string_view segment : segments) {
        (plain += '/') += segment;
    }
    return endsInFolder || plain.empty() ? plain + '/' : plain;
}

}  // namespace

std::optional<HttpAddress> HttpAddress::Parse(std::string_view text) {
    const std::size_t colon = SchemeEnd(text);
    if (colon == std::string_view::npos || text.size() > kLongest) {
        return std::nullopt;
    }
    const std::string scheme = Lowered(text.substr(0, colon));
    text.remove_prefix(colon + 1);
    if ((scheme != "http" && scheme != "https") || !text.starts_with("//")) {
        return std::nullopt;
    }
    text = text.substr(2, text.find('#') - 2);
    const std::string_view authority = text.substr(0, text.find_first_of("/?"));
    HttpAddress address;
    address.isSecure = scheme == "https";
    address.port = address.isSecure ? kSecurePort : kPlainPort;
    std::string_view host = authority;
    const std::size_t bracket = authority.find(']');
    const std::size_t portColon =
        authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
    if (portColon != std::string_view::npos) {
        const std::string_view digits = authority.substr(portColon + 1);
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), address.port);
        if (error != std::errc() || end != digits.data() + digits.size() || address.port == 0) {
            return std::nullopt;
        }
        host = authority.substr(0, portColon);
    }
    if (!IsHost(host)) {
        return std::nullopt;
    }
    address.host = Lowered(host);
    address.target = Escaped(text.substr(authority.size()));
    if (!address.target.starts_with('/')) {
        address.target.insert(0, "/");
    }
    return address;
}

std::optional<HttpAddress> HttpAddress::Resolve(std::string_view reference) const {
    if (SchemeEnd(reference) != std::string_view::npos) {
        return Parse(reference);
    }
    reference = reference.substr(0, reference.find('#'));
    if (reference.starts_with("//")) {
        return Parse((isSecure ? "https:" : "http:") + std::string(reference));
    }
    HttpAddress result = *this;
    if (reference.empty()) {
        return result;
    }
    const std::string path = target.substr(0, target.find('?'));
    const std::size_t query = std::min(reference.find('?'), reference.size());
    std::string newPath = path;
    if (query > 0) {
        newPath = WithoutDots((reference[0] == '/' ? "" : path.substr(0, path.rfind('/') + 1)) +
                              std::string(reference.substr(0, query)));
    }
    if (newPath.size() + reference.size() > kLongest) {
        return std::nullopt;
    }
    result.target = Escaped(newPath + std::string(reference.substr(query)));
    return result;
}

std::string HttpAddress::Origin() const {
    const bool isUsual = port == (isSecure ? kSecurePort : kPlainPort);
    return (isSecure ? "https://" : "http://") + host +
           (isUsual ? std::string() : ':' + std::to_string(port));
}

}  // namespace Terrascope::Plugins

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Terrascope::Plugins {

/// An address of the schemes http and https, in parts. ASCII: bytes beyond it, and characters that
/// an address must not have, are percent-encoded. A fragment ("#...") is dropped.
/// Source: RFC 3986.
struct HttpAddress {
    bool isSecure = false;  ///< https
    std::string host;       ///< small letters; an IPv6 address has its brackets
    std::uint16_t port = 80;
    std::string target;  ///< path and query; begins with a slash

    /// Nothing for any other scheme, for user names in front of the host, hosts with letters
    /// beyond ASCII, and texts of more than 4096 bytes.
    static std::optional<HttpAddress> Parse(std::string_view text);

    /// What a reference in a document at this address, or a redirect from it, leads to.
    std::optional<HttpAddress> Resolve(std::string_view reference) const;

    /// Whether a redirect from here may lead there: never from https to http.
    bool MayLeadTo(const HttpAddress& next) const { return next.isSecure || !isSecure; }

    /// Scheme, host and port: "https://example.org:8443".
    std::string Origin() const;
    std::string Text() const { return Origin() + target; }
    /// Without the query, which may hold a key.
    std::string ForLog() const { return Origin() + target.substr(0, target.find('?')); }

    bool operator==(const HttpAddress&) const = default;
};

}  // namespace Terrascope::Plugins

#include "viewer/MapAddress.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace Viewer {
namespace {

constexpr std::string_view kSchemeEnd = "://";
constexpr char kWeb[] = "WebTileMapInfoProvider";
constexpr char kKeeping[] = "DBTileMapInfoProvider";

std::string_view WithoutBlanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// In small letters; empty when the text begins with none. RFC 3986, 3.1; a drive is no scheme.
std::string SchemeOf(std::string_view text) {
    const size_t end = text.find(kSchemeEnd);
    if (end == std::string_view::npos || end < 2) {
        return {};
    }
    std::string scheme(text.substr(0, end));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(), Lower);
    const bool isScheme = std::all_of(scheme.begin(), scheme.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
    });
    return isScheme ? scheme : std::string();
}

}  // namespace

bool IsAddress(std::string_view text) {
    return !SchemeOf(WithoutBlanks(text)).empty();
}

std::optional<std::string> ReadAddress(std::string_view text, std::string& error) {
    const std::string_view address = WithoutBlanks(text);
    const std::string scheme = SchemeOf(address);
    if (scheme != "http" && scheme != "https") {
        error = "\"" + WithoutSecrets(address) +
                "\" is no address that begins with http:// or https://";
        return std::nullopt;
    }
    const size_t host = scheme.size() + kSchemeEnd.size();
    const bool isOneLine = std::all_of(address.begin(), address.end(),
                                       [](char c) { return static_cast<unsigned char>(c) >= ' '; });
    if (!isOneLine ||
        std::string_view("/?#:").find(address.substr(host, 1)) != std::string_view::npos) {
        error = "\"" + WithoutSecrets(address) + "\" names no server";
        return std::nullopt;
    }
    return std::string(address);
}

std::string WithoutSecrets(std::string_view text) {
    std::string shown(text.substr(0, text.find('?')));  // which no file's name has
    const size_t schemeEnd = shown.find(kSchemeEnd);
    if (schemeEnd == std::string::npos) {
        return shown;
    }
    const size_t host = schemeEnd + kSchemeEnd.size();
    const size_t at = shown.rfind('@', std::min(shown.find_first_of("/#", host), shown.size()));
    if (at != std::string::npos && at >= host) {
        shown.erase(host, at + 1 - host);
    }
    return shown;
}

// FNV-1a with 64 bits: http://www.isthe.com/chongo/tech/comp/fnv/
std::string FolderNameOf(std::string_view address) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : address) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    }
    char name[17] = "";
    std::snprintf(name, sizeof(name), "%08lx%08lx", static_cast<unsigned long>(hash >> 32),
                  static_cast<unsigned long>(hash & 0xFFFFFFFFU));
    return name;
}

MapSource SourceOfAddress(const std::string& address, const std::string& folder) {
    if (folder.empty()) {
        return {{"LOCAL", kWeb, address}, ""};
    }
    return {{"LOCAL", kKeeping, folder}, "", {"REMOTE", kWeb, address}};
}

}  // namespace Viewer

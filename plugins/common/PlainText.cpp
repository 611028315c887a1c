#include "plugins/common/PlainText.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongestText = std::size_t{1024} * 1024;  // bytes; the rest is dropped

std::string_view WithoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

template <class T>
std::optional<T> ParseNumber(std::string_view text) {
    text = WithoutBlanks(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                    : std::nullopt;
}

/// The character that a name between "&" and ";" means, as UTF-16; empty for one not listed here.
std::wstring EntityText(std::string_view name) {
    struct Named {
        std::string_view name;
        wchar_t text;
    };
    constexpr std::array<Named, 9> kNamed{{{"amp", L'&'},
                                           {"lt", L'<'},
                                           {"gt", L'>'},
                                           {"quot", L'"'},
                                           {"apos", L'\''},
                                           {"nbsp", L' '},
                                           {"copy", L'\u00A9'},
                                           {"reg", L'\u00AE'},
                                           {"ndash", L'\u2013'}}};
    for (const Named& each : kNamed) {
        if (name == each.name) {
            return {each.text};
        }
    }
    if (!name.starts_with('#')) {
        return {};
    }
    name.remove_prefix(1);
    const bool isHex = name.starts_with('x') || name.starts_with('X');
    if (isHex) {
        name.remove_prefix(1);
    }
    std::uint32_t code = 0;
    const auto [end, error] =
        std::from_chars(name.data(), name.data() + name.size(), code, isHex ? 16 : 10);
    const bool isCharacter = code >= 0x20 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    if (error != std::errc() || end != name.data() + name.size() || !isCharacter) {
        return {};
    }
    if (code < 0x10000) {
        return {static_cast<wchar_t>(code)};
    }
    code -= 0x10000;
    return {static_cast<wchar_t>(0xD800 + (code >> 10)),
            static_cast<wchar_t>(0xDC00 + (code & 0x3FF))};
}

}  // namespace

std::wstring WideFromUtf8(std::string_view text) {
    text = text.substr(0, kLongestText);
    const int bytes = static_cast<int>(text.size());
    const int length =
        bytes > 0 ? ::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0) : 0;
    std::wstring wide(static_cast<std::size_t>(std::max(length, 0)), L'\0');
    if (length > 0) {
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, wide.data(), length);
    }
    return wide;
}

std::string Utf8FromWide(std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int length = units > 0 ? ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0,
                                                         nullptr, nullptr)
                                 : 0;
    std::string narrow(static_cast<std::size_t>(std::max(length, 0)), '\0');
    if (length > 0) {
        ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, narrow.data(), length, nullptr,
                              nullptr);
    }
    return narrow;
}

CString NarrowFromUtf8(std::string_view text, std::size_t limit) {
    const std::wstring wide = WideFromUtf8(text);
    std::string narrow;
    for (std::size_t i = 0; i < wide.size();) {
        const bool isPair = wide[i] >= 0xD800 && wide[i] < 0xDC00 && i + 1 < wide.size();
        const int units = isPair ? 2 : 1;
        const bool isControl = (wide[i] < 0x20 && wide[i] != L'\n') || wide[i] == 0x7F;
        std::array<char, 8> bytes{' '};
        const int count =
            isControl ? 1
                      : ::WideCharToMultiByte(CP_ACP, 0, &wide[i], units, bytes.data(),
                                              static_cast<int>(bytes.size()), nullptr, nullptr);
        if (narrow.size() + static_cast<std::size_t>(std::max(count, 0)) > limit) {
            break;
        }
        narrow.append(bytes.data(), static_cast<std::size_t>(std::max(count, 0)));
        i += static_cast<std::size_t>(units);
    }
    return CString(narrow.data(), static_cast<int>(narrow.size()));
}

std::string TextOfHtml(std::string_view html) {
    html = html.substr(0, kLongestText);
    std::string text;
    const auto addBlank = [&] {
        if (!text.empty() && text.back() != ' ') {
            text += ' ';
        }
    };
    for (std::size_t i = 0; i < html.size();) {
        const char c = html[i];
        if (c == '<') {
            const std::size_t end = html.find('>', i);
            const std::string_view tag = html.substr(i + 1, 2);
            // Those that end a line; the others may be within a word.
            if (tag.starts_with("br") || tag.starts_with("p") || tag.starts_with("/p") ||
                tag.starts_with("/d") || tag.starts_with("/l")) {
                addBlank();
            }
            if (end == std::string_view::npos) {
                break;
            }
            i = end + 1;
            continue;
        }
        if (c == '&') {
            constexpr std::size_t kLongestEntity = 10;
            const std::size_t end = html.substr(0, i + kLongestEntity).find(';', i);
            const std::wstring shown = end != std::string_view::npos
                                           ? EntityText(html.substr(i + 1, end - i - 1))
                                           : std::wstring();
            if (!shown.empty()) {
                shown == L" " ? addBlank() : void(text += Utf8FromWide(shown));
                i = end + 1;
                continue;
            }
        }
        if (static_cast<unsigned char>(c) <= 0x20) {
            addBlank();
        } else {
            text += c;
        }
        ++i;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::optional<double> ParseReal(std::string_view text) {
    const std::optional<double> value = ParseNumber<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<std::int64_t> ParseWhole(std::string_view text) {
    return ParseNumber<std::int64_t>(text);
}

std::optional<std::vector<double>> ParseReals(std::string_view text) {
    std::vector<double> values;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::optional<double> value = ParseReal(text.substr(begin, end - begin));
        if (!value) {
            return std::nullopt;
        }
        values.push_back(*value);
        begin = end + 1;
    }
    return values;
}

}  // namespace Terrascope::Plugins

#include "plugins/common/SafePath.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace Terrascope::Plugins {
namespace {

/// Reserved in every folder, whatever extension follows. Source: Microsoft's "Naming Files, Paths,
/// and Namespaces"; the superscript digits count as digits.
bool IsDeviceName(std::wstring_view name) {
    std::wstring stem(name.substr(0, name.find(L'.')));
    stem.erase(stem.find_last_not_of(L' ') + 1);
    for (wchar_t& letter : stem) {
        if (letter >= L'a' && letter <= L'z') {
            letter = static_cast<wchar_t>(letter - L'a' + L'A');
        }
    }
    constexpr std::array<std::wstring_view, 6> kPlain{L"CON", L"PRN",    L"AUX",
                                                      L"NUL", L"CONIN$", L"CONOUT$"};
    if (std::find(kPlain.begin(), kPlain.end(), stem) != kPlain.end()) {
        return true;
    }
    constexpr std::wstring_view kDigits = L"0123456789\u00B9\u00B2\u00B3";
    return stem.size() == 4 && (stem.starts_with(L"COM") || stem.starts_with(L"LPT")) &&
           kDigits.find(stem[3]) != std::wstring_view::npos;
}

}  // namespace

bool IsPlainName(std::wstring_view name) {
    if (name.empty() || name.back() == L'.' || name.back() == L' ') {
        return false;  // "." and ".." among them; Windows would cut the others to another name
    }
    const bool odd = std::any_of(name.begin(), name.end(), [](wchar_t c) {
        return c < 0x20 || std::wstring_view(L":*?\"<>|").find(c) != std::wstring_view::npos;
    });
    return !odd && !IsDeviceName(name);
}

std::optional<std::wstring> ToWide(std::string_view text) {
    if (text.empty()) {
        return std::wstring();
    }
    const int bytes = static_cast<int>(text.size());
    const int length =
        ::MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
    if (length <= 0) {
        return std::nullopt;
    }
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), bytes, wide.data(), length);
    return wide;
}

std::optional<CString> ToNarrow(const std::wstring& text) {
    if (text.empty()) {
        return CString();
    }
    // With UTF-8 as the active code page the last two arguments are not allowed, nor needed.
    const bool utf8 = ::GetACP() == CP_UTF8;
    const DWORD flags = utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL lossy = FALSE;
    BOOL* const lossyFlag = utf8 ? nullptr : &lossy;
    const int length = static_cast<int>(text.size());
    const int bytes =
        ::WideCharToMultiByte(CP_ACP, flags, text.data(), length, nullptr, 0, nullptr, lossyFlag);
    if (bytes <= 0 || lossy) {
        return std::nullopt;
    }
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_ACP, flags, text.data(), length, narrow.data(), bytes, nullptr,
                          lossyFlag);
    return CString(narrow.data(), bytes);
}

std::optional<std::wstring> JoinUnder(const std::wstring& folder, std::string_view relative) {
    std::optional<std::wstring> path = ToWide(relative);
    if (!path) {
        return std::nullopt;
    }
    std::replace(path->begin(), path->end(), L'/', L'\\');
    for (std::size_t begin = 0; begin <= path->size();) {
        const std::size_t end = std::min(path->find(L'\\', begin), path->size());
        if (!IsPlainName(std::wstring_view(*path).substr(begin, end - begin))) {
            return std::nullopt;
        }
        begin = end + 1;
    }
    return folder + L'\\' + *path;
}

}  // namespace Terrascope::Plugins

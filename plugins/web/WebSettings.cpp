#include "plugins/web/WebSettings.h"

#include <windows.h>

#include <algorithm>

#include "plugins/common/SafePath.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kSection[] = "WebTileMapInfoProvider";
constexpr int kMostHeaders = 9;
constexpr std::size_t kLongestHeader = 4096;

/// A token of RFC 9110.
bool IsName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
    });
}

bool IsValue(std::string_view value) {
    return !value.empty() && value.size() <= kLongestHeader &&
           std::all_of(value.begin(), value.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

}  // namespace

HttpIdentity ReadIdentity(const CString& settingsFile, bool isSecure) {
    CMemIniFile settings(settingsFile, false);
    HttpIdentity identity;
    identity.onlySecure = isSecure;
    const CString agent = settings.ReadString(kSection, "USER_AGENT", "");
    const std::string_view trimmedAgent = Trimmed(ViewOf(agent));
    const bool isAgent = IsValue(trimmedAgent);
    if (!isAgent && !trimmedAgent.empty()) {
        LogLine("[%s] USER_AGENT: it has other than ASCII letters, and is not used", kSection);
    }
    identity.headers.emplace_back(
        "User-Agent", isAgent ? std::string(trimmedAgent) : "Terrascope/" TERRASCOPE_VERSION);
    for (int i = 1; i <= kMostHeaders; ++i) {
        CString key;
        key.Format("HEADER_%d", i);
        const CString line = settings.ReadString(kSection, key, "");
        const std::string_view text = Trimmed(ViewOf(line));
        if (text.empty()) {
            continue;
        }
        const std::size_t colon = std::min(text.find(':'), text.size());
        const std::string_view name = Trimmed(text.substr(0, colon));
        const std::string_view value =
            colon < text.size() ? Trimmed(text.substr(colon + 1)) : std::string_view();
        if (!IsName(name) || !IsValue(value)) {
            LogLine("[%s] %s: it is not 'Name: value' in ASCII letters, and is not used", kSection,
                    key.GetString());
            continue;
        }
        identity.headers.emplace_back(name, value);
    }
    return identity;
}

HttpIdentity ReadIdentity(bool isSecure) {
    wchar_t library[MAX_PATH] = L"";
    ::GetModuleFileNameW(::GetModuleHandleW(L"Terrascope.dll"), library, MAX_PATH - 1);
    std::wstring path(library);
    path.resize(path.find_last_of(L'\\') + 1);
    path += L"Terrascope.ini";
    return ReadIdentity(ToNarrow(path).value_or(""), isSecure);
}

}  // namespace Terrascope::Plugins

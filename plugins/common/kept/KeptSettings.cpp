#include "plugins/common/kept/KeptSettings.h"

#include "plugins/common/PlainText.h"
#include "plugins/common/SettingsFile.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kKey[] = "CACHE_LIMIT_MB";
constexpr std::int64_t kUsual = 512;  // MiB
constexpr std::int64_t kMost = 1'000'000;
constexpr std::uint64_t kMebibyte = std::uint64_t{1024} * 1024;

}  // namespace

bool IsKeptFolder(std::wstring_view name) {
    return ::CompareStringOrdinal(name.data(), static_cast<int>(name.size()), kKeptFolder, -1,
                                  TRUE) == CSTR_EQUAL;
}

std::uint64_t ReadKeptLimit(const CString& settingsFile, const char* provider) {
    CMemIniFile settings(settingsFile, false);
    const CString text = settings.ReadString(provider, kKey, "");
    const auto limit = ParseWhole(ViewOf(text));
    const bool isUsable = limit && *limit >= 0 && *limit <= kMost;
    if (!isUsable && !Trimmed(ViewOf(text)).empty()) {
        LogLine("[%s] %s: it is no whole number from 0 to %lld, and %lld is used", provider, kKey,
                static_cast<long long>(kMost), static_cast<long long>(kUsual));
    }
    return static_cast<std::uint64_t>(isUsable ? *limit : kUsual) * kMebibyte;
}

std::uint64_t ReadKeptLimit(const char* provider) {
    return ReadKeptLimit(SettingsFile(), provider);
}

}  // namespace Terrascope::Plugins

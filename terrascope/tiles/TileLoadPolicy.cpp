#include "terrascope/tiles/TileLoadPolicy.h"

#include <charconv>
#include <string_view>

#include "terrascope/support/LogSink.h"
#include "terrascope/support/files/Paths.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

namespace {

constexpr char kSection[] = "TILE_LOAD";

int ReadNumber(CMemIniFile& settings, const CString& path, const char* key, int lowest, int highest,
               int standard) {
    const CString value = settings.ReadString(kSection, key, "");
    const std::string_view text = Trimmed(ViewOf(value));
    if (text.empty()) {
        return standard;
    }
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < lowest ||
        number > highest) {
        LogLine("'%s': [%s] %s: '%s' is no whole number from %d to %d; %d is used",
                path.GetString(), kSection, key, value.GetString(), lowest, highest, standard);
        return standard;
    }
    return number;
}

}  // namespace

TileLoadPolicy ReadTileLoadPolicy() {
    return ReadTileLoadPolicy(
        MakeAbsolutePath("Terrascope.ini", GetModuleFolderPath("Terrascope.dll").GetString()));
}

TileLoadPolicy ReadTileLoadPolicy(const CString& path) {
    CMemIniFile settings(path, false);
    TileLoadPolicy policy;
    policy.fast = ReadNumber(settings, path, "FAST", 0, 1, 0) == 1;
    policy.threads = ReadNumber(settings, path, "THREADS", 1, 16, policy.threads);
    policy.codecs = ReadNumber(settings, path, "CODECS", 0, 1, 0) == 1;
    policy.cacheBytes = static_cast<std::size_t>(ReadNumber(settings, path, "CACHE_MB", 0, 4096, 0))
                        << 20;
    return policy;
}

}  // namespace Terrascope

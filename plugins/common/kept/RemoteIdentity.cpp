#include "plugins/common/kept/RemoteIdentity.h"

#include <array>
#include <typeinfo>

#include "plugins/common/PlainText.h"
#include "plugins/common/SettingsFile.h"
#include "plugins/common/kept/KeptMap.h"
#include "terrascope/support/ini/MemIniFile.h"

namespace Terrascope::Plugins {

std::string IdentityOf(const ITileMapInfoProvider& provider) {
    std::string identity = std::string("remote ") + typeid(provider).name();
    HMODULE module = nullptr;
    std::array<wchar_t, MAX_PATH> path{};
    // A class's table of functions lies in its plug-in.
    if (::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            *reinterpret_cast<const wchar_t* const*>(&provider), &module) &&
        ::GetModuleFileNameW(module, path.data(), MAX_PATH) < MAX_PATH) {
        const std::wstring file = path.data();
        identity += ' ' + Utf8FromWide(file.substr(file.find_last_of(L'\\') + 1));
    }
    CMemIniFile settings(SettingsFile(), false);
    const CString remote = settings.ReadString("TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE", "REMOTE", "");
    return DigestOf(identity + ' ' + settings.ReadString(remote, "DATA_PATH", "").GetString());
}

}  // namespace Terrascope::Plugins

#include "terrascope/providers/ProviderSelection.h"

#include <cstring>
#include <string>

#include "terrascope/providers/FailureOf.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/files/Paths.h"
#include "terrascope/support/ini/MemIniFile.h"

namespace Terrascope {
namespace {

constexpr char kLibraryFile[] = "Terrascope.dll";
constexpr char kSettingsFile[] = "Terrascope.ini";
constexpr char kRolesSection[] = "TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE";
constexpr char kDataPathKey[] = "DATA_PATH";
constexpr char kWebProvider[] = "WebTileMapInfoProvider";

const char* RoleName(ProviderRole role) {
    return role == ProviderRole::Local ? "LOCAL" : "REMOTE";
}

const char* DefaultProvider(ProviderRole role) {
    return role == ProviderRole::Local ? "SplittedFileTileMapInfoProvider"
                                       : "DBTileMapInfoProvider";
}

using Factory = CTileMapInfoProviderPluginServer::Factory;

/// The factory registered first under the name; null when there is none. A factory that fails to
/// return its name has none.
Factory* FindFactory(const CString& name) {
    for (Factory* factory : CTileMapInfoProviderPluginKernel::GetInstance().GetFactories()) {
        bool matches = false;
        const auto failure = FailureOf(
            [&] { matches = factory != nullptr && factory->GetName().CompareNoCase(name) == 0; });
        if (failure) {
            LogLine("a provider factory failed to return its name: %s", failure->c_str());
        }
        if (matches) {
            return factory;
        }
    }
    return nullptr;
}

/// A data path without what may be a key or a password: an address ends at its query, and begins
/// with its host.
CString ForLog(const ProviderChoice& choice, const CString& path) {
    if (choice.name.CompareNoCase(kWebProvider) != 0) {
        return path;
    }
    const std::string plain(path.GetString(), std::strcspn(path, "?#"));
    const std::size_t host = plain.rfind('@') + 1;  // npos + 1 is 0
    return path.Mid(static_cast<int>(host), static_cast<int>(plain.size() - host));
}

/// Makes the chosen provider and gives it its data path. Null when no plug-in offers it, or when
/// it fails at either.
std::unique_ptr<ITileMapInfoProvider> CreateProvider(ProviderRole role,
                                                     const ProviderChoice& choice,
                                                     const CString& libraryFolder) {
    std::unique_ptr<ITileMapInfoProvider> provider;
    CString reason = "no plug-in registered it";
    if (Factory* factory = FindFactory(choice.name); factory != nullptr) {
        auto failure = FailureOf([&] { provider.reset(factory->Create()); });
        reason = "its factory made none";
        if (provider != nullptr) {
            const CString path = ResolveDataPath(choice, libraryFolder);
            failure = FailureOf([&] {
                if (!path.IsEmpty()) {
                    provider->SetDataPath(path);
                }
            });
            if (!failure) {
                LogLine("%s provider: '%s', data path '%s'", RoleName(role),
                        choice.name.GetString(), ForLog(choice, path).GetString());
                return provider;
            }
            reason = "it failed to take its data path";
        }
        if (failure) {
            reason += CString(": ") + failure->c_str();
        }
    }
    LogLine("%s provider: none; '%s': %s", RoleName(role), choice.name.GetString(),
            reason.GetString());
    return nullptr;
}

}  // namespace

ProviderChoice ChooseProvider(ProviderRole role, CCustomIniFile& settings,
                              const ProviderChoice& hostChoice) {
    const CString name = settings.ReadString(kRolesSection, RoleName(role), "");
    if (!name.IsEmpty()) {
        return {name, settings.ReadString(name, kDataPathKey, "")};
    }
    if (!hostChoice.name.IsEmpty()) {
        // With the host's name goes the host's path, an empty one too: the file is not asked.
        return hostChoice;
    }
    const CString standard = DefaultProvider(role);
    return {standard, settings.ReadString(standard, kDataPathKey, "")};
}

CString ResolveDataPath(const ProviderChoice& choice, const CString& libraryFolder) {
    if (choice.dataPath.IsEmpty() || choice.name.CompareNoCase(kWebProvider) == 0) {
        return choice.dataPath;
    }
    return MakeAbsolutePath(choice.dataPath.GetString(), libraryFolder.GetString());
}

std::unique_ptr<ITileMapInfoProvider> CreateConfiguredProvider(CString& identity) {
    const CString folder = GetModuleFolderPath(kLibraryFile);
    CMemIniFile settings(MakeAbsolutePath(kSettingsFile, folder.GetString()), false);
    const auto& server = CTileMapInfoProviderPluginKernel::GetInstance();
    const ProviderChoice localChoice =
        ChooseProvider(ProviderRole::Local, settings, server.GetHostChoice(ProviderRole::Local));
    const ProviderChoice remoteChoice =
        ChooseProvider(ProviderRole::Remote, settings, server.GetHostChoice(ProviderRole::Remote));

    identity = localChoice.name + "\n" + localChoice.dataPath + "\n" + remoteChoice.name + "\n" +
               remoteChoice.dataPath;

    std::unique_ptr<ITileMapInfoProvider> remote =
        CreateProvider(ProviderRole::Remote, remoteChoice, folder);
    std::unique_ptr<ITileMapInfoProvider> local =
        CreateProvider(ProviderRole::Local, localChoice, folder);
    if (local != nullptr && remote != nullptr) {
        local->m_pRemoteProvider = remote.release();
    }
    return local;
}

}  // namespace Terrascope

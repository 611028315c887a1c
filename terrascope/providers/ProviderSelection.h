#pragma once

#include <afx.h>

#include <memory>

#include "terrascope/providers/TileMapInfoProviderPluginServer.h"

namespace Terrascope {

class CCustomIniFile;

/// Which provider, with which data path, serves a role. The file wins with name and path
/// together; then the host's choice, if it has a name; then the role's default, whose path is in
/// the file. `settings` is the content of Terrascope.ini.
ProviderChoice ChooseProvider(ProviderRole role, CCustomIniFile& settings,
                              const ProviderChoice& hostChoice);

/// The data path as the provider gets it: relative ones lie under the library's folder; those of
/// the web provider are addresses and pass unchanged.
CString ResolveDataPath(const ProviderChoice& choice, const CString& libraryFolder);

/// Makes the providers that Terrascope.ini, the host and the defaults ask for, and attaches the
/// remote one to the local one. The file is read anew each time. Null when there is no local
/// provider. What was chosen is reported to the log. `identity` receives the names and data paths
/// of both. Threads: the host's user-interface thread.
std::unique_ptr<ITileMapInfoProvider> CreateConfiguredProvider(CString& identity);

}  // namespace Terrascope

#pragma once

#include <afx.h>

#include "terrascope/providers/PluginKernel.h"
#include "terrascope/providers/TileMapInfoProviderPluginServer.h"

namespace Terrascope {

/// The plug-in engine of the process: loads the plug-ins, keeps their factories and the host's
/// choice of providers. A plug-in's "registerPlugin" receives it and calls RegisterFactory; it
/// needs nothing else of it.
///
/// Owns:    factories and libraries. When it goes: the host's choice, then the factories in the
///          order of their registration, then the libraries. Providers must be gone by then.
/// Threads: loading happens on the thread that loads the library; no lock.
class CTileMapInfoProviderPluginKernel : public CPluginKernel<CTileMapInfoProviderPluginKernel>,
                                         public CTileMapInfoProviderPluginServer {
public:
    /// The one instance of the process, made at the first call. No lock: the first call comes
    /// while the library is being loaded.
    static CTileMapInfoProviderPluginKernel& GetInstance();

    /// Deletes the instance if there is one. Runs when the library is unloaded.
    static void ReleaseInstance();

    std::int32_t GetEngineVersion() override;
    ~CTileMapInfoProviderPluginKernel() override;

    /// Loads every plug-in from the plug-in folder beside the named module (in the folder of this
    /// library when no such module is loaded). True when all could be loaded; also when there are
    /// none. One that fails does not keep the others out.
    bool LoadPlugins(const CString& moduleFileName);

    /// The same for the DLLs that lie directly in `folder`, in the order of the directory.
    bool LoadPluginFolder(const CString& folder);
};

}  // namespace Terrascope

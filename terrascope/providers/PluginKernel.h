#pragma once

#include <afx.h>

#include <cstdint>
#include <map>

#include "terrascope/providers/PluginModule.h"

namespace Terrascope {

/// Loads plug-in libraries for TKernel, the class that derives from it and that the plug-ins
/// register with. Made for CTileMapInfoProviderPluginKernel alone.
///
/// Requires: the object is a TKernel.
/// Owns:    the loaded libraries; they are unloaded when it goes, after TKernel's other parts.
/// Threads: the thread that loads the library, under the loader lock.
/// Errors:  a plug-in that cannot be used is reported to the provider log and left out.
template <class TKernel>
class CPluginKernel {
public:
    CPluginKernel() = default;
    CPluginKernel(const CPluginKernel&) = delete;
    CPluginKernel& operator=(const CPluginKernel&) = delete;

    /// The version that a plug-in must have been built for.
    virtual std::int32_t GetEngineVersion() = 0;

    /// Loads one plug-in by its full path and lets it register its factories. True when it is
    /// loaded now, also when it already was (paths compare case-sensitively).
    bool LoadPlugin(const CString& path);

    /// Keeps every loaded plug-in in the process for good: for the owner of a provider that must
    /// outlive the library because a thread is stuck inside it.
    void PinPlugins() const {
        for (const auto& [path, plugin] : m_plugins) {
            plugin.Pin();
        }
    }

protected:
    // Not virtual: the table of this class begins and ends with GetEngineVersion, and nobody
    // deletes through it.
    ~CPluginKernel() = default;

private:
    bool Introduce(const CString& path, const PluginModule& plugin);

    std::map<CString, PluginModule> m_plugins;
};

}  // namespace Terrascope

#pragma once

#include <afx.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>

#include "terrascope/providers/PluginModule.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {

/// Loads plug-in libraries for TKernel, the class that derives from it and that the plug-ins
/// register with.
///
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

template <class TKernel>
bool CPluginKernel<TKernel>::LoadPlugin(const CString& path) {
    if (m_plugins.find(path) != m_plugins.end()) {
        return true;
    }
    try {
        PluginModule plugin = PluginModule::Open(path);
        if (!Introduce(path, plugin)) {
            return false;
        }
        m_plugins.emplace(path, plugin);
        LogLine("plug-in loaded: %s", path.GetString());
        return true;
    } catch (const std::exception& failure) {
        LogLine("plug-in refused: %s", failure.what());
        return false;
    }
}

/// Asks for the version and has the plug-in register itself. `plugin` outlives the handlers: an
/// exception's type may lie in the library.
template <class TKernel>
bool CPluginKernel<TKernel>::Introduce(const CString& path, const PluginModule& plugin) {
    TKernel* kernel = dynamic_cast<TKernel*>(this);
    const std::size_t factoriesBefore = kernel->GetFactories().size();
    try {
        const std::int32_t version = plugin.GetEngineVersionEntry()();
        if (version != GetEngineVersion()) {
            LogLine("plug-in refused: '%s' was built for engine version %d, not %d",
                    path.GetString(), static_cast<int>(version),
                    static_cast<int>(GetEngineVersion()));
            return false;
        }
        plugin.GetRegisterEntry()(kernel);
        return true;
    } catch (const std::exception& failure) {
        LogLine("plug-in refused: '%s' failed to register: %s", path.GetString(), failure.what());
    } catch (...) {
        LogLine("plug-in refused: '%s' failed to register", path.GetString());
    }
    // Their code is about to be unloaded.
    kernel->DropFactories(factoriesBefore);
    return false;
}

}  // namespace Terrascope

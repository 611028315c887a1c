#include "terrascope/providers/PluginKernel.h"

#include <cstddef>
#include <exception>

#include "terrascope/providers/FailureOf.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {

template <class TKernel>
bool CPluginKernel<TKernel>::LoadPlugin(const CString& path) {
    if (m_plugins.find(path) != m_plugins.end()) {
        return true;
    }
    try {
        // Kept first: nothing may fail between the registration and that, or the library would be
        // unloaded under its factories.
        const auto place = m_plugins.emplace(path, PluginModule::Open(path)).first;
        if (!Introduce(path, place->second)) {
            m_plugins.erase(place);
            return false;
        }
        LogLine("plug-in loaded: %s", path.GetString());
        return true;
    } catch (const std::exception& failure) {
        LogLine("plug-in refused: %s", failure.what());
        return false;
    }
}

/// Asks for the version and has the plug-in register itself.
template <class TKernel>
bool CPluginKernel<TKernel>::Introduce(const CString& path, const PluginModule& plugin) {
    TKernel* kernel = dynamic_cast<TKernel*>(this);
    ASSERT(kernel != nullptr);
    const std::size_t factoriesBefore = kernel->GetFactories().size();
    std::int32_t version = 0;
    const auto failure = FailureOf([&] {
        version = plugin.GetEngineVersionEntry()();
        if (version == GetEngineVersion()) {
            plugin.GetRegisterEntry()(kernel);
        }
    });
    if (failure) {
        LogLine("plug-in refused: '%s' failed to register: %s", path.GetString(), failure->c_str());
        // Their code is about to be unloaded.
        kernel->DropFactories(factoriesBefore);
        return false;
    }
    if (version != GetEngineVersion()) {
        LogLine("plug-in refused: '%s' was built for engine version %d, not %d", path.GetString(),
                static_cast<int>(version), static_cast<int>(GetEngineVersion()));
        return false;
    }
    return true;
}

template class CPluginKernel<CTileMapInfoProviderPluginKernel>;

}  // namespace Terrascope

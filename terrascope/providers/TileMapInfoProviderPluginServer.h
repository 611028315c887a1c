#pragma once

#include <afx.h>

#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/providers/PluginFactory.h"
#include "terrascope/providers/PluginServer.h"

namespace Terrascope {

/// What a provider is for: the library talks to the local one, which may ask the remote one.
enum class ProviderRole { Local, Remote };

/// A provider by its factory's name, and the data path for it; both may be empty.
struct ProviderChoice {
    CString name;
    CString dataPath;
};

/// The provider factories, and the host's choice of providers.
///
/// Threads: the host's user-interface thread, after the library has been loaded.
class CTileMapInfoProviderPluginServer
    : public CPluginServer1<ITileMapInfoProvider, CPluginFactory> {
public:
    /// Keeps the host's choice for the role that `type` names ("LOCAL" or "REMOTE", ignoring
    /// case); any other type changes nothing. Providers chosen from then on follow it.
    void SetProvider(const CString& type, const CString& name, const CString& dataPath) {
        if (type.CompareNoCase("LOCAL") == 0) {
            m_local = {name, dataPath};
        }
        if (type.CompareNoCase("REMOTE") == 0) {
            m_remote = {name, dataPath};
        }
    }

    const ProviderChoice& GetHostChoice(ProviderRole role) const {
        return role == ProviderRole::Local ? m_local : m_remote;
    }

private:
    ProviderChoice m_local;
    ProviderChoice m_remote;
};

}  // namespace Terrascope

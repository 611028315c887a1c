#pragma once

#include <afx.h>

#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/providers/PluginFactory.h"

namespace Terrascope::Plugins {

/// The factory of a plug-in: makes TProviders under the name given.
template <class TProvider>
class ProviderFactory : public CPluginFactory<ITileMapInfoProvider> {
public:
    explicit ProviderFactory(const char* name) : m_name(name) {}

    CString GetName() override { return m_name; }
    ITileMapInfoProvider* Create() override { return new TProvider; }

private:
    const CString m_name;
};

}  // namespace Terrascope::Plugins

#pragma once

#include <afx.h>

#include <list>
#include <memory>

#include "terrascope/providers/ITileMapInfoProvider.h"

namespace Terrascope {

/// Owns the configured provider and forwards to it. Without a provider, and for a call that the
/// provider answers with an exception, the results are false, null and empty lists.
///
/// Owns:    the provider. Whoever receives records deletes them.
/// Threads: no lock. LoadTiles may be called on loading threads beside everything else; the rest,
///          and SetCurrentMap, belong to the user-interface thread.
class CTileMapInfoProviderWrapper {
public:
    CTileMapInfoProviderWrapper() = default;
    CTileMapInfoProviderWrapper(const CTileMapInfoProviderWrapper&) = delete;
    CTileMapInfoProviderWrapper& operator=(const CTileMapInfoProviderWrapper&) = delete;
    virtual ~CTileMapInfoProviderWrapper();

    virtual bool UpdateMapLib(bool flag);
    virtual std::list<tagTILE_MAP_INFO*> GetMapList();
    virtual tagTILE_MAP_INFO* GetMapInfo(const CString& mapName);
    virtual std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName);

    /// The provider's record, with the zoom factor of SetCurrentMap when it is that map's first
    /// layer.
    virtual tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString& mapName, int layerNumber);
    virtual std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layerNumber,
                                                const std::list<CString>& tileKeys);
    virtual bool Reserved13();
    virtual bool Reserved14();
    virtual bool Reserved15();
    virtual bool Reserved16();

    /// Creates the provider that the configuration asks for; false when there is none.
    /// Requires: the wrapper holds no provider; it is called once, right after the construction.
    bool SelectProvider();

    /// Which providers with which data paths these are: the same for the same configuration.
    const CString& Identity() const { return m_identity; }

    /// Has calls of LoadTiles in progress return soon, if the plug-in of the provider, or of its
    /// remote one, can do that. For the owner's end: nothing may be loaded afterwards.
    void CancelLoads();

    /// Names the map being shown and the zoom factor that its first layer is to have.
    void SetCurrentMap(const CString& mapName, int firstLayer, double firstLayerScale);

    /// Gives the provider up without deleting it, and keeps all plug-ins in the process for good:
    /// for an owner that must go while a thread is stuck inside the provider. The wrapper is
    /// without a provider afterwards.
    ITileMapInfoProvider* Detach();

private:
    std::unique_ptr<ITileMapInfoProvider> m_provider;
    CString m_strMapName;
    int m_nFirstLayer = 0;
    double m_dFirstLayerScale = 1.0;
    CString m_identity;
};

}  // namespace Terrascope

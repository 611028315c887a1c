#pragma once

#include <afx.h>
#include <afxmt.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugins/common/TileAddress.h"
#include "plugins/common/kept/RemoteSource.h"
#include "plugins/web/MapReading.h"
#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Serves maps whose tiles come from web servers. The data path is the address of a document that
/// describes them, or a template for the addresses of tiles: see the README.
///
/// Owns:    the remote provider that was attached to it, which it asks for tiles that are missing.
/// Threads: every operation may run beside every other. No server is waited for under a lock.
///          LoadTiles and LoadTile wait up to 8 s for each tile, UpdateMapLib up to 6 s, and so
///          does what needs the maps until they have been read once: each until Cancel at most.
///          SetDataPath, MapsNow and Identity wait for none.
/// Errors:  nothing throws; what is missing or cannot be had is null or empty.
class CWebTileMapInfoProvider : public ITileMapInfoProvider, public IRemoteSource {
public:
    static constexpr char kName[] = "WebTileMapInfoProvider";

    ~CWebTileMapInfoProvider() override;

    /// Reads the documents anew; false, and the maps stay, when one cannot be had within 6 s. The
    /// flag makes no difference.
    bool UpdateMapLib(bool flag) override;
    void SetDataPath(const CString& path) override;
    std::list<tagTILE_MAP_INFO*> GetMapList() override;
    tagTILE_MAP_INFO* GetMapInfo(const CString& mapName) override;
    std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName) override;
    tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString& mapName, int layerNumber) override;
    std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layerNumber,
                                        const std::list<CString>& tileKeys) override;

    /// The provider that is attached here is not asked.
    RemoteTile LoadTile(const CString& mapName, int layerNumber, const CString& key,
                        const TileFreshness* known) override;
    /// Nothing until all documents have been read. After a failure they are read again in the
    /// background, at most every half minute; so they are for LoadTile of a map that is unknown.
    std::optional<std::vector<tagTILE_MAP_INFO>> MapsNow() override;
    /// Of the data path, with what stands behind its "#".
    std::string Identity() override;
    void Cancel() override { m_cancellation.Cancel(); }

private:
    std::shared_ptr<CMapReading> Reading();
    std::shared_ptr<const WebMap> FindMap(const CString& mapName);
    HttpResult Fetch(const WebMap& map, const std::optional<TileAddress>& address, int layerNumber,
                     const CString& key, const HttpHeaders& conditions);
    std::list<tagTILE_IMAGE*> LoadOne(const WebMap& map, int layerNumber, const CString& key);

    Cancellation m_cancellation;
    CCriticalSection m_lock;
    std::shared_ptr<CMapReading> m_reading TERRASCOPE_GUARDED_BY(m_lock);  ///< null: no data path
    HttpIdentity m_identity TERRASCOPE_GUARDED_BY(m_lock);
    std::string m_dataPath TERRASCOPE_GUARDED_BY(m_lock);  ///< UTF-8
};

}  // namespace Terrascope::Plugins

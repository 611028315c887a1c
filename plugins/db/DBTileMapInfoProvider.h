#pragma once

#include <afx.h>
#include <afxmt.h>

#include <memory>

#include "plugins/common/kept/RemoteMaps.h"
#include "plugins/db/ArchiveLibrary.h"
#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Serves maps whose tiles are in archives: MBTiles, GeoPackage, PMTiles. The data path is one of
/// them or a folder of them. docs/maps.md has what is read of each.
///
/// Owns:    the remote provider that was attached to it, whose maps follow its own, and which it
///          asks for tiles that are missing in these where it has the same map; what comes from it
///          is kept. Of two maps of one name the own one counts.
/// Threads: every operation may run beside every other, and no reading of tiles waits for another.
/// Errors:  nothing throws; what is missing or unreadable is null or empty, and logged where the
///          maintainer of the maps looks for it.
class CDBTileMapInfoProvider : public ITileMapInfoProvider, public IHasOwnFiles {
public:
    static constexpr char kName[] = "DBTileMapInfoProvider";

    ~CDBTileMapInfoProvider() override;

    /// Opens the archives anew, and has the remote provider update its maps; with the flag,
    /// kept tiles of maps that are newer there go. False, and the maps stay, when the data path is
    /// neither a file nor a folder, or when a server could not be reached.
    bool UpdateMapLib(bool flag) override;
    void SetDataPath(const CString& path) override;
    std::list<tagTILE_MAP_INFO*> GetMapList() override;
    tagTILE_MAP_INFO* GetMapInfo(const CString& mapName) override;
    std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName) override;
    tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString& mapName, int layerNumber) override;
    std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layerNumber,
                                        const std::list<CString>& tileKeys) override;

private:
    std::shared_ptr<const CArchiveLibrary> Library();
    std::shared_ptr<const CArchiveLibrary> OpenLibrary();
    void Use(std::shared_ptr<const CArchiveLibrary> library);
    std::list<tagTILE_IMAGE*> LoadTile(const LibraryMap& map, int layerNumber, const CString& key);

    CRemoteMaps m_remote{*this, kName};
    CCriticalSection m_lock;
    CString m_dataPath TERRASCOPE_GUARDED_BY(m_lock);
    std::shared_ptr<const CArchiveLibrary> m_library TERRASCOPE_GUARDED_BY(m_lock) =
        std::make_shared<CArchiveLibrary>();
};

}  // namespace Terrascope::Plugins

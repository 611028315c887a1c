#pragma once

#include <afx.h>
#include <afxmt.h>

#include <memory>

#include "plugins/common/kept/RemoteMaps.h"
#include "plugins/split_file/MapLibrary.h"
#include "terrascope/providers/ITileMapInfoProvider.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Serves maps whose tiles are image files in folders. The data path is a folder; each sub-folder
/// with a map.ini, with what GDAL's tiler writes, or with folders of numbered tiles is a map; so is
/// the data path itself if it is one of the latter two. See the README for the formats.
///
/// Owns:    the remote provider that was attached to it, whose maps follow its own, and which it
///          asks for tiles that are missing in these where it has the same map; what comes from it
///          is kept. Of two maps of one name the own one counts.
/// Threads: every operation may run beside every other. No file is read under the lock.
/// Errors:  nothing throws; what is missing or unreadable is null or empty, and logged where the
///          maintainer of the maps looks for it.
class CSplittedFileTileMapInfoProvider : public ITileMapInfoProvider, public IHasOwnFiles {
public:
    static constexpr char kName[] = "SplittedFileTileMapInfoProvider";

    ~CSplittedFileTileMapInfoProvider() override;

    /// Reads what has changed in the library since it was last read in this process, and has the
    /// remote provider update its maps; with the flag, kept tiles of maps that are newer there
    /// go. False, and the maps stay, when the folder cannot be read, or when a server could not be
    /// reached.
    bool UpdateMapLib(bool flag) override;
    void SetDataPath(const CString& path) override;
    std::list<tagTILE_MAP_INFO*> GetMapList() override;
    tagTILE_MAP_INFO* GetMapInfo(const CString& mapName) override;
    std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& mapName) override;
    tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString& mapName, int layerNumber) override;
    std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layerNumber,
                                        const std::list<CString>& tileKeys) override;

private:
    std::shared_ptr<const MapLibrary> Library();
    struct Scan {
        std::wstring folder;
        std::shared_ptr<const MapLibrary> library;  ///< null: the folder cannot be read
    };
    Scan ReadLibrary();
    void Use(const Scan& scan);
    std::list<tagTILE_IMAGE*> LoadTile(const MapDescription& map,
                                       const tagTILE_MAP_LAYER_INFO& layer, const CString& key);

    CRemoteMaps m_remote{*this, kName};
    CCriticalSection m_lock;
    CString m_dataPath TERRASCOPE_GUARDED_BY(m_lock);
    std::shared_ptr<const MapLibrary> m_library TERRASCOPE_GUARDED_BY(m_lock) =
        std::make_shared<MapLibrary>();
};

}  // namespace Terrascope::Plugins

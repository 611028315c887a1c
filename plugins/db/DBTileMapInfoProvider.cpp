#include "plugins/db/DBTileMapInfoProvider.h"

#include "plugins/common/SafePath.h"
#include "plugins/common/TileDelivery.h"
#include "plugins/common/WithoutThrowing.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {

CDBTileMapInfoProvider::~CDBTileMapInfoProvider() {
    delete m_pRemoteProvider;
}

std::shared_ptr<const CArchiveLibrary> CDBTileMapInfoProvider::Library() {
    CSingleLock lock(&m_lock, TRUE);
    return m_library;
}

bool CDBTileMapInfoProvider::Reopen() {
    CString dataPath;
    {
        CSingleLock lock(&m_lock, TRUE);
        dataPath = m_dataPath;
    }
    std::optional<std::wstring> path = ToWide(ViewOf(dataPath));
    if (!path || path->empty()) {
        return false;
    }
    if (path->back() == L'\\' || path->back() == L'/') {
        path->pop_back();
    }
    std::shared_ptr<const CArchiveLibrary> library = CArchiveLibrary::Open(*path);
    if (library == nullptr) {
        LogLine("the data path '%s' is neither an archive nor a folder of them",
                dataPath.GetString());
        return false;
    }
    CSingleLock lock(&m_lock, TRUE);
    m_library.swap(library);
    // The former archives are closed behind the lock.
    lock.Unlock();
    m_remoteTiles.Forget();
    return true;
}

bool CDBTileMapInfoProvider::UpdateMapLib(bool flag) {
    const bool isRead = WithoutThrowing<bool>(kName, [this] { return Reopen(); });
    WithoutThrowing<bool>(kName, [&] {
        return m_pRemoteProvider != nullptr && m_pRemoteProvider->UpdateMapLib(flag);
    });
    m_remoteTiles.Forget();
    return isRead;
}

void CDBTileMapInfoProvider::SetDataPath(const CString& path) {
    WithoutThrowing<bool>(kName, [&] {
        {
            CSingleLock lock(&m_lock, TRUE);
            m_dataPath = path;
        }
        return Reopen();
    });
}

std::list<tagTILE_MAP_INFO*> CDBTileMapInfoProvider::GetMapList() {
    return WithoutThrowing<std::list<tagTILE_MAP_INFO*>>(kName, [this] {
        std::list<tagTILE_MAP_INFO*> maps;
        const auto library = Library();
        for (const LibraryMap& map : library->Maps()) {
            maps.push_back(new tagTILE_MAP_INFO(map.info));
        }
        return maps;
    });
}

tagTILE_MAP_INFO* CDBTileMapInfoProvider::GetMapInfo(const CString& mapName) {
    return WithoutThrowing<tagTILE_MAP_INFO*>(kName, [&] {
        const auto library = Library();
        const LibraryMap* map = library->Find(mapName);
        return map != nullptr ? new tagTILE_MAP_INFO(map->info) : nullptr;
    });
}

std::list<tagTILE_MAP_LAYER_INFO*> CDBTileMapInfoProvider::GetLayerList(const CString& mapName) {
    return WithoutThrowing<std::list<tagTILE_MAP_LAYER_INFO*>>(kName, [&] {
        std::list<tagTILE_MAP_LAYER_INFO*> layers;
        const auto library = Library();
        if (const LibraryMap* map = library->Find(mapName); map != nullptr) {
            for (int layer = map->grid.firstLayer; layer <= map->grid.lastLayer; ++layer) {
                layers.push_back(new tagTILE_MAP_LAYER_INFO(map->Layer(layer)));
            }
        }
        return layers;
    });
}

tagTILE_MAP_LAYER_INFO* CDBTileMapInfoProvider::GetLayerInfo(const CString& mapName,
                                                             int layerNumber) {
    return WithoutThrowing<tagTILE_MAP_LAYER_INFO*>(kName, [&] {
        const auto library = Library();
        const LibraryMap* map = library->Find(mapName);
        return map != nullptr && map->HasLayer(layerNumber)
                   ? new tagTILE_MAP_LAYER_INFO(map->Layer(layerNumber))
                   : nullptr;
    });
}

std::list<tagTILE_IMAGE*> CDBTileMapInfoProvider::LoadTile(const LibraryMap& map, int layerNumber,
                                                           const CString& key) {
    const std::optional<TileAddress> address = ParseTileKey(ViewOf(key));
    const auto place =
        address && address->layer == layerNumber ? map.grid.Find(*address) : std::nullopt;
    if (!place) {
        return {};
    }
    std::vector<std::uint8_t> bytes;
    if (map.archive->ReadTile(map.index, *place, bytes)) {
        return OneTile(*address, key, bytes);
    }
    return m_remoteTiles.Load(m_pRemoteProvider, map.info, map.Layer(layerNumber), key);
}

std::list<tagTILE_IMAGE*> CDBTileMapInfoProvider::LoadTiles(const CString& mapName, int layerNumber,
                                                            const std::list<CString>& tileKeys) {
    return WithoutThrowing<std::list<tagTILE_IMAGE*>>(kName, [&] {
        const auto library = Library();
        const LibraryMap* map = library->Find(mapName);
        return map != nullptr
                   ? LoadEach(kName, tileKeys,
                              [&](const CString& key) { return LoadTile(*map, layerNumber, key); })
                   : std::list<tagTILE_IMAGE*>();
    });
}

}  // namespace Terrascope::Plugins

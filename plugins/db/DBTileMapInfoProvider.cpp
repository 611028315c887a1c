#include "plugins/db/DBTileMapInfoProvider.h"

#include "plugins/common/SafePath.h"
#include "plugins/common/TileDelivery.h"
#include "plugins/common/WithoutThrowing.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {

CDBTileMapInfoProvider::~CDBTileMapInfoProvider() {
    m_remote.End();
    delete m_pRemoteProvider;
}

std::shared_ptr<const CArchiveLibrary> CDBTileMapInfoProvider::Library() {
    CSingleLock lock(&m_lock, TRUE);
    return m_library;
}

std::shared_ptr<const CArchiveLibrary> CDBTileMapInfoProvider::OpenLibrary() {
    CString dataPath;
    {
        CSingleLock lock(&m_lock, TRUE);
        dataPath = m_dataPath;
    }
    std::optional<std::wstring> path = ToWide(ViewOf(dataPath));
    if (!path || path->empty()) {
        return nullptr;
    }
    if (path->back() == L'\\' || path->back() == L'/') {
        path->pop_back();
    }
    std::shared_ptr<const CArchiveLibrary> library = CArchiveLibrary::Open(*path);
    if (library == nullptr) {
        LogLine("the data path '%s' is neither an archive nor a folder of them",
                dataPath.GetString());
    }
    return library;
}

void CDBTileMapInfoProvider::Use(std::shared_ptr<const CArchiveLibrary> library) {
    {
        CSingleLock lock(&m_lock, TRUE);
        m_library.swap(library);  // the former archives are closed behind the lock
    }
    m_remote.ForgetOwnMaps();
}

bool CDBTileMapInfoProvider::UpdateMapLib(bool flag) {
    return WithoutThrowing<bool>(kName, [&] {
        auto library = OpenLibrary();
        const bool isUpdated = library != nullptr && m_remote.Update(flag);
        if (isUpdated) {
            Use(std::move(library));
        }
        return isUpdated;
    });
}

void CDBTileMapInfoProvider::SetDataPath(const CString& path) {
    WithoutThrowing<bool>(kName, [&] {
        {
            CSingleLock lock(&m_lock, TRUE);
            m_dataPath = path;
        }
        const std::wstring data = ToWide(ViewOf(path)).value_or(L"");
        m_remote.KeepIn(LookAtFile(data) ? data.substr(0, data.find_last_of(L"\\/"))
                                         : data.substr(0, data.find_last_not_of(L"\\/") + 1));
        if (auto library = OpenLibrary(); library != nullptr) {
            Use(std::move(library));
        }
        return true;
    });
}

std::list<tagTILE_MAP_INFO*> CDBTileMapInfoProvider::GetMapList() {
    return WithoutThrowing<std::list<tagTILE_MAP_INFO*>>(kName, [this] {
        std::list<tagTILE_MAP_INFO*> maps;
        const auto library = Library();
        for (const LibraryMap& map : library->Maps()) {
            maps.push_back(new tagTILE_MAP_INFO(map.info));
        }
        m_remote.AppendMaps(maps,
                            [&](const CString& name) { return library->Find(name) != nullptr; });
        return maps;
    });
}

tagTILE_MAP_INFO* CDBTileMapInfoProvider::GetMapInfo(const CString& mapName) {
    return WithoutThrowing<tagTILE_MAP_INFO*>(kName, [&] {
        const auto library = Library();
        const LibraryMap* map = library->Find(mapName);
        return map != nullptr ? new tagTILE_MAP_INFO(map->info) : m_remote.GetMapInfo(mapName);
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
        } else {
            layers = m_remote.GetLayerList(mapName);
        }
        return layers;
    });
}

tagTILE_MAP_LAYER_INFO* CDBTileMapInfoProvider::GetLayerInfo(const CString& mapName,
                                                             int layerNumber) {
    return WithoutThrowing<tagTILE_MAP_LAYER_INFO*>(kName, [&] {
        const auto library = Library();
        const LibraryMap* map = library->Find(mapName);
        if (map == nullptr) {
            return m_remote.GetLayerInfo(mapName, layerNumber);
        }
        return map->HasLayer(layerNumber) ? new tagTILE_MAP_LAYER_INFO(map->Layer(layerNumber))
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
    return m_remote.FillGap(map.info, map.Layer(layerNumber), key);
}

std::list<tagTILE_IMAGE*> CDBTileMapInfoProvider::LoadTiles(const CString& mapName, int layerNumber,
                                                            const std::list<CString>& tileKeys) {
    return WithoutThrowing<std::list<tagTILE_IMAGE*>>(kName, [&] {
        const auto library = Library();
        const LibraryMap* map = library->Find(mapName);
        return map != nullptr
                   ? LoadEach(kName, tileKeys,
                              [&](const CString& key) { return LoadTile(*map, layerNumber, key); })
                   : m_remote.LoadTiles(mapName, layerNumber, tileKeys);
    });
}

}  // namespace Terrascope::Plugins

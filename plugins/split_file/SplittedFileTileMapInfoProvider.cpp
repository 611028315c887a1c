#include "plugins/split_file/SplittedFileTileMapInfoProvider.h"

#include "plugins/common/FolderFiles.h"
#include "plugins/common/SafePath.h"
#include "plugins/common/TileDelivery.h"
#include "plugins/common/WithoutThrowing.h"
#include "plugins/split_file/LibraryCache.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLargestTileFile = std::size_t{64} * 1024 * 1024;  // bytes

template <class TResult, class TWork>
TResult Safely(TWork work) {
    return WithoutThrowing<TResult>(CSplittedFileTileMapInfoProvider::kName, work);
}

}  // namespace

CSplittedFileTileMapInfoProvider::~CSplittedFileTileMapInfoProvider() {
    m_remote.End();
    delete m_pRemoteProvider;
}

std::shared_ptr<const MapLibrary> CSplittedFileTileMapInfoProvider::Library() {
    CSingleLock lock(&m_lock, TRUE);
    return m_library;
}

CSplittedFileTileMapInfoProvider::Scan CSplittedFileTileMapInfoProvider::ReadLibrary() {
    CString dataPath;
    {
        CSingleLock lock(&m_lock, TRUE);
        dataPath = m_dataPath;
    }
    std::optional<std::wstring> folder = ToWide(ViewOf(dataPath));
    if (!folder || folder->empty()) {
        return {};
    }
    if (folder->starts_with(L"\\\\")) {
        // The settings reader takes it for a relative path.
        LogLine("the data path '%s' needs a drive letter", dataPath.GetString());
        return {};
    }
    if (folder->back() == L'\\' || folder->back() == L'/') {
        folder->pop_back();
    }
    std::shared_ptr<const MapLibrary> library = CLibraryCache::OfProcess().Read(*folder);
    if (library == nullptr) {
        LogLine("the data path '%s' is not a folder that can be read", dataPath.GetString());
        return {};
    }
    return {*std::move(folder), std::move(library)};
}

void CSplittedFileTileMapInfoProvider::Use(const Scan& scan) {
    {
        CSingleLock lock(&m_lock, TRUE);
        m_library = scan.library;
    }
    m_remote.KeepIn(scan.folder);
    m_remote.ForgetOwnMaps();
}

bool CSplittedFileTileMapInfoProvider::UpdateMapLib(bool flag) {
    return Safely<bool>([&] {
        const Scan scan = ReadLibrary();
        const bool isUpdated = scan.library != nullptr && m_remote.Update(flag);
        if (isUpdated) {
            Use(scan);
        }
        return isUpdated;
    });
}

void CSplittedFileTileMapInfoProvider::SetDataPath(const CString& path) {
    Safely<bool>([&] {
        {
            CSingleLock lock(&m_lock, TRUE);
            m_dataPath = path;
        }
        const Scan scan = ReadLibrary();
        if (scan.library != nullptr) {
            Use(scan);
        }
        return true;
    });
}

std::list<tagTILE_MAP_INFO*> CSplittedFileTileMapInfoProvider::GetMapList() {
    return Safely<std::list<tagTILE_MAP_INFO*>>([this] {
        std::list<tagTILE_MAP_INFO*> maps;
        const auto library = Library();
        for (const auto& map : *library) {
            maps.push_back(new tagTILE_MAP_INFO(map->info));
        }
        m_remote.AppendMaps(
            maps, [&](const CString& name) { return FindMap(*library, name) != nullptr; });
        return maps;
    });
}

tagTILE_MAP_INFO* CSplittedFileTileMapInfoProvider::GetMapInfo(const CString& mapName) {
    return Safely<tagTILE_MAP_INFO*>([&] {
        const auto map = FindMap(*Library(), mapName);
        return map != nullptr ? new tagTILE_MAP_INFO(map->info) : m_remote.GetMapInfo(mapName);
    });
}

std::list<tagTILE_MAP_LAYER_INFO*> CSplittedFileTileMapInfoProvider::GetLayerList(
    const CString& mapName) {
    return Safely<std::list<tagTILE_MAP_LAYER_INFO*>>([&] {
        std::list<tagTILE_MAP_LAYER_INFO*> layers;
        if (const auto map = FindMap(*Library(), mapName); map != nullptr) {
            for (const tagTILE_MAP_LAYER_INFO& layer : map->layers) {
                layers.push_back(new tagTILE_MAP_LAYER_INFO(layer));
            }
        } else {
            layers = m_remote.GetLayerList(mapName);
        }
        return layers;
    });
}

tagTILE_MAP_LAYER_INFO* CSplittedFileTileMapInfoProvider::GetLayerInfo(const CString& mapName,
                                                                       int layerNumber) {
    return Safely<tagTILE_MAP_LAYER_INFO*>([&]() -> tagTILE_MAP_LAYER_INFO* {
        const auto map = FindMap(*Library(), mapName);
        if (map == nullptr) {
            return m_remote.GetLayerInfo(mapName, layerNumber);
        }
        const tagTILE_MAP_LAYER_INFO* layer = map->FindLayer(layerNumber);
        return layer != nullptr ? new tagTILE_MAP_LAYER_INFO(*layer) : nullptr;
    });
}

std::list<tagTILE_IMAGE*> CSplittedFileTileMapInfoProvider::LoadTile(
    const MapDescription& map, const tagTILE_MAP_LAYER_INFO& layer, const CString& key) {
    const std::optional<TileAddress> address = ParseTileKey(ViewOf(key));
    if (!address || address->layer != layer.nLayerNumber) {
        return {};
    }
    const std::optional<std::string> name = map.TileFile(*address, ViewOf(key));
    const auto file = name ? JoinUnder(map.folder, *name) : std::nullopt;
    if (!file) {
        return {};
    }
    const auto bytes = ReadWholeFile(*file, kLargestTileFile);
    if (bytes && !bytes->empty()) {
        return OneTile(*address, key, *bytes);
    }
    return m_remote.FillGap(map.info, layer, key);
}

std::list<tagTILE_IMAGE*> CSplittedFileTileMapInfoProvider::LoadTiles(
    const CString& mapName, int layerNumber, const std::list<CString>& tileKeys) {
    return Safely<std::list<tagTILE_IMAGE*>>([&] {
        const auto map = FindMap(*Library(), mapName);
        if (map == nullptr) {
            return m_remote.LoadTiles(mapName, layerNumber, tileKeys);
        }
        const tagTILE_MAP_LAYER_INFO* layer = map->FindLayer(layerNumber);
        return layer != nullptr
                   ? LoadEach(kName, tileKeys,
                              [&](const CString& key) { return LoadTile(*map, *layer, key); })
                   : std::list<tagTILE_IMAGE*>();
    });
}

}  // namespace Terrascope::Plugins

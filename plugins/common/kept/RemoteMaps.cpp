#include "plugins/common/kept/RemoteMaps.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

#include "plugins/common/TileDelivery.h"
#include "plugins/common/WithoutThrowing.h"
#include "plugins/common/kept/KeptSettings.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::int64_t kUsualAge =
    std::int64_t{7} * 24 * 3600;                     // seconds, of a tile without a server's word
constexpr std::uint64_t kBetweenRefreshes = 10'000;  // milliseconds
constexpr std::uint64_t kBetweenLooks = 250;
constexpr std::uint64_t kPauseAfterFailure = 60'000;
constexpr std::size_t kMostPauses = 10'000;

/// The records that a provider returned, which it leaves to the caller.
template <class TRecord>
std::vector<TRecord> Taken(const std::list<TRecord*>& records) {
    std::vector<TRecord> copies;
    for (TRecord* record : records) {
        const std::unique_ptr<TRecord> owned(record);
        if (owned != nullptr) {
            copies.push_back(*owned);
        }
    }
    return copies;
}

std::string NameOf(const KeptMap& map, const KeptPlace& place) {
    return map.Key() + '/' + std::to_string(place.zoom) + '/' + std::to_string(place.column) + '/' +
           std::to_string(place.row);
}

}  // namespace

void CRemoteMaps::KeepIn(const std::wstring& folder) {
    Link former;  // what was kept by it is written behind the lock
    CSingleLock lock(&m_lock, TRUE);
    if (m_folder != folder) {
        m_folder = folder;
        std::swap(former, m_link);
        m_library.reset();
    }
}

void CRemoteMaps::End() {
    Link link;
    {
        CSingleLock lock(&m_lock, TRUE);
        link = m_link;
    }
    if (link.source != nullptr) {
        link.source->Cancel();
    }
    m_tasks.End();
    CSingleLock lock(&m_lock, TRUE);
    m_link = Link();
}

CRemoteMaps::Link CRemoteMaps::Attached() {
    Link link;
    Link former;
    std::wstring folder;
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_link.provider == m_local.m_pRemoteProvider) {
            return m_link;
        }
        folder = m_folder;
    }
    link.provider = m_local.m_pRemoteProvider;
    if (link.provider != nullptr) {
        link.source = dynamic_cast<IRemoteSource*>(link.provider);
        // A class's name is all that is known of another plug-in's provider.
        link.identity = link.source != nullptr
                            ? link.source->Identity()
                            : DigestOf(std::string("remote ") + typeid(*link.provider).name());
        const bool isFolder = !folder.empty();
        const bool hasOwnFiles = dynamic_cast<IHasOwnFiles*>(link.provider) != nullptr;
        const std::uint64_t limit = isFolder && !hasOwnFiles ? ReadKeptLimit(m_name) : 0;
        if (limit > 0 && !link.identity.empty()) {
            link.kept = CKeptTiles::Of(folder + L"\\kept", limit);
        }
    }
    CSingleLock lock(&m_lock, TRUE);
    former = std::exchange(m_link, link);
    m_library.reset();
    return link;
}

// --- the maps ---

CRemoteMaps::LibraryPtr CRemoteMaps::Current() {
    CSingleLock lock(&m_lock, TRUE);
    return m_library;
}

CRemoteMaps::LibraryPtr CRemoteMaps::FromKept(const Link& link) {
    KeptMaps maps = ReadDescriptions(link.kept->Descriptions(link.identity), link.identity);
    if (maps.empty()) {
        return nullptr;
    }
    LibraryPtr library = RemoteLibrary::Make(std::move(maps), false);
    CSingleLock lock(&m_lock, TRUE);
    m_library = m_library != nullptr ? m_library : library;
    return m_library;
}

CRemoteMaps::LibraryPtr CRemoteMaps::Publish(const Link& link,
                                             const std::vector<tagTILE_MAP_INFO>& maps,
                                             bool dropsNewer) {
    LibraryPtr former = Current();
    former = former != nullptr ? former : FromKept(link);
    KeptMaps made;
    for (const tagTILE_MAP_INFO& info : maps) {
        auto map =
            KeptMap::Make(link.identity, info, Taken(link.provider->GetLayerList(info.strName)));
        if (map == nullptr) {
            continue;
        }
        const auto before = former != nullptr ? former->Find(info.strName) : nullptr;
        if (before != nullptr && dropsNewer) {
            if (IsEarlier(before->tilesSince, info.stUpdateTime) ||
                before->GridText() != map->GridText()) {
                link.kept->DropMap(map);
            }
        } else if (before != nullptr) {
            // Only an update with the flag lets older tiles go, however often the map is read.
            const auto changed = std::make_shared<KeptMap>(*map);
            changed->tilesSince = before->tilesSince;
            map = changed;
        }
        made.push_back(std::move(map));
    }
    LibraryPtr library = RemoteLibrary::Make(std::move(made), true);
    if (former == nullptr || former->text != library->text) {
        link.kept->Describe(link.identity, library->text);
    }
    {
        CSingleLock lock(&m_lock, TRUE);
        m_library = library;
    }
    m_same.Forget();
    return library;
}

CRemoteMaps::LibraryPtr CRemoteMaps::Maps(const Link& link, bool mayWait) {
    LibraryPtr library = Current();
    if (link.source != nullptr) {
        if (const auto maps = link.source->MapsNow()) {
            const bool isSame =
                library != nullptr && library->isCurrent && library->HasRecords(*maps);
            return isSame ? library : Publish(link, *maps, false);
        }
    }
    library = library != nullptr ? library : FromKept(link);
    if (library != nullptr) {
        RefreshLater(link);
        return library;
    }
    const auto maps =
        mayWait ? Taken(link.provider->GetMapList()) : std::vector<tagTILE_MAP_INFO>();
    return maps.empty() ? nullptr : Publish(link, maps, false);
}

void CRemoteMaps::RefreshLater(const Link& link) {
    {
        CSingleLock lock(&m_lock, TRUE);
        const std::uint64_t now = ::GetTickCount64();
        if (now < m_nextRefresh) {
            return;
        }
        m_nextRefresh = now + kBetweenRefreshes;
    }
    m_tasks.Add("maps", [this, link] {
        const auto maps = Taken(link.provider->GetMapList());
        if (!maps.empty()) {
            Publish(link, maps, false);
        }
    });
}

void CRemoteMaps::AppendMaps(std::list<tagTILE_MAP_INFO*>& maps,
                             const std::function<bool(const CString&)>& isOwn) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return;
    }
    std::vector<tagTILE_MAP_INFO> others;
    if (link.kept == nullptr) {
        others = Taken(link.provider->GetMapList());
    } else if (const LibraryPtr library = Maps(link, true); library != nullptr) {
        for (const MapPtr& map : library->maps) {
            others.push_back(map->info);
        }
    }
    for (const tagTILE_MAP_INFO& map : others) {
        if (!isOwn(map.strName)) {
            maps.push_back(new tagTILE_MAP_INFO(map));
        }
    }
}

tagTILE_MAP_INFO* CRemoteMaps::GetMapInfo(const CString& mapName) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return nullptr;
    }
    const LibraryPtr library = link.kept != nullptr ? Maps(link, true) : nullptr;
    const MapPtr map = library != nullptr ? library->Find(mapName) : nullptr;
    return map != nullptr ? new tagTILE_MAP_INFO(map->info) : link.provider->GetMapInfo(mapName);
}

std::list<tagTILE_MAP_LAYER_INFO*> CRemoteMaps::GetLayerList(const CString& mapName) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return {};
    }
    const LibraryPtr library = link.kept != nullptr ? Maps(link, true) : nullptr;
    const MapPtr map = library != nullptr ? library->Find(mapName) : nullptr;
    if (map == nullptr) {
        return link.provider->GetLayerList(mapName);
    }
    std::list<tagTILE_MAP_LAYER_INFO*> layers;
    for (const tagTILE_MAP_LAYER_INFO& layer : map->layers) {
        layers.push_back(new tagTILE_MAP_LAYER_INFO(layer));
    }
    return layers;
}

tagTILE_MAP_LAYER_INFO* CRemoteMaps::GetLayerInfo(const CString& mapName, int layerNumber) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return nullptr;
    }
    const LibraryPtr library = link.kept != nullptr ? Maps(link, true) : nullptr;
    const MapPtr map = library != nullptr ? library->Find(mapName) : nullptr;
    if (map == nullptr) {
        return link.provider->GetLayerInfo(mapName, layerNumber);
    }
    const tagTILE_MAP_LAYER_INFO* layer = map->FindLayer(layerNumber);
    return layer != nullptr ? new tagTILE_MAP_LAYER_INFO(*layer) : nullptr;
}

bool CRemoteMaps::Update(bool flag) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return true;
    }
    const bool isUpdated =
        WithoutThrowing<bool>(m_name, [&] { return link.provider->UpdateMapLib(flag); });
    if (link.source != nullptr && !isUpdated) {
        return false;
    }
    if (link.kept != nullptr) {
        auto maps = link.source != nullptr ? link.source->MapsNow() : std::nullopt;
        maps = maps ? std::move(maps) : Taken(link.provider->GetMapList());
        if (!maps->empty()) {
            Publish(link, *maps, flag);
        }
    }
    m_same.Forget();
    return true;
}

// --- the tiles ---

CRemoteMaps::MapPtr CRemoteMaps::FindForTile(const Link& link, const CString& name) {
    LibraryPtr library;
    bool isLookDue = false;
    {
        CSingleLock lock(&m_lock, TRUE);
        library = m_library;
        const std::uint64_t now = ::GetTickCount64();
        if ((library == nullptr || !library->isCurrent) && now >= m_nextLook) {
            m_nextLook = now + kBetweenLooks;
            isLookDue = true;
        }
    }
    library = isLookDue ? Maps(link, false) : library;
    return library != nullptr ? library->Find(name) : nullptr;
}

std::list<tagTILE_IMAGE*> CRemoteMaps::LoadTiles(const CString& mapName, int layerNumber,
                                                 const std::list<CString>& keys) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return {};
    }
    const MapPtr map = link.kept != nullptr ? FindForTile(link, mapName) : nullptr;
    if (map == nullptr) {
        return link.provider->LoadTiles(mapName, layerNumber, keys);
    }
    return LoadEach(m_name, keys, [&](const CString& key) {
        return key.GetLength() == layerNumber ? LoadTile(link, map, key)
                                              : std::list<tagTILE_IMAGE*>();
    });
}

std::list<tagTILE_IMAGE*> CRemoteMaps::FillGap(const tagTILE_MAP_INFO& map,
                                               const tagTILE_MAP_LAYER_INFO& layer,
                                               const CString& key) {
    const Link link = Attached();
    if (link.provider == nullptr) {
        return {};
    }
    const auto askInfo = [&]() -> std::unique_ptr<tagTILE_MAP_INFO> {
        if (link.kept == nullptr) {
            return std::unique_ptr<tagTILE_MAP_INFO>(link.provider->GetMapInfo(map.strName));
        }
        // What is kept is enough here: a server that is out of reach would delay each tile.
        const LibraryPtr library = Maps(link, true);
        const MapPtr other = library != nullptr ? library->Find(map.strName) : nullptr;
        return other != nullptr ? std::make_unique<tagTILE_MAP_INFO>(other->info) : nullptr;
    };
    const auto askLayer = [&] {
        return std::unique_ptr<tagTILE_MAP_LAYER_INFO>(
            GetLayerInfo(map.strName, layer.nLayerNumber));
    };
    const bool isSame = m_same.IsSame(map, layer, askInfo, askLayer);
    return isSame ? LoadTiles(map.strName, layer.nLayerNumber, {key}) : std::list<tagTILE_IMAGE*>();
}

RemoteTile CRemoteMaps::Ask(const Link& link, const KeptMap& map, int layerNumber,
                            const CString& key, const TileFreshness* known) {
    if (link.source != nullptr) {
        return link.source->LoadTile(map.info.strName, layerNumber, key, known);
    }
    RemoteTile tile;
    std::vector<std::unique_ptr<tagTILE_IMAGE>> images;
    for (tagTILE_IMAGE* image : link.provider->LoadTiles(map.info.strName, layerNumber, {key})) {
        images.emplace_back(image);
    }
    if (!images.empty() && images.front() != nullptr) {
        const std::span<const std::uint8_t> bytes = images.front()->stream.Bytes();
        tile.outcome = RemoteOutcome::Here;
        tile.bytes.assign(bytes.begin(), bytes.end());
        tile.freshness.fetched = SecondsNow();
        tile.freshness.expires = SecondsNow() + kUsualAge;
    }
    return tile;
}

std::list<tagTILE_IMAGE*> CRemoteMaps::LoadTile(const Link& link, const MapPtr& map,
                                                const CString& key) {
    const auto address = ParseTileKey(ViewOf(key));
    const auto place = address ? map->Locate(*address) : std::nullopt;
    if (!place) {
        return {};
    }
    if (const auto tile = link.kept->Find(map, *place)) {
        if (tile->freshness.expires <= SecondsNow()) {
            AskAgainLater(link, map, *place, key, tile->freshness);
        }
        return OneTile(*address, key, tile->bytes);
    }
    const RemoteTile tile = Ask(link, *map, address->layer, key, nullptr);
    if (tile.outcome != RemoteOutcome::Here || tile.bytes.empty()) {
        return {};
    }
    if (tile.freshness.mayBeKept) {
        link.kept->Keep(map, *place, tile.bytes, tile.freshness);
    }
    return OneTile(*address, key, tile.bytes);
}

bool CRemoteMaps::MayTry(const std::string& tile) {
    CSingleLock lock(&m_lock, TRUE);
    const auto pause = m_pauses.find(tile);
    return pause == m_pauses.end() || ::GetTickCount64() >= pause->second;
}

void CRemoteMaps::NoteFailure(const std::string& tile) {
    const std::uint64_t now = ::GetTickCount64();
    CSingleLock lock(&m_lock, TRUE);
    if (m_pauses.size() >= kMostPauses) {
        std::erase_if(m_pauses, [now](const auto& pause) { return pause.second <= now; });
    }
    m_pauses[tile] = now + kPauseAfterFailure;
}

void CRemoteMaps::AskAgainLater(const Link& link, const MapPtr& map, const KeptPlace& place,
                                const CString& key, const TileFreshness& known) {
    const std::string name = NameOf(*map, place);
    if (!MayTry(name)) {
        return;
    }
    m_tasks.Add(name, [=, this] {
        RemoteTile tile = Ask(link, *map, place.zoom, key, &known);
        switch (tile.outcome) {
            case RemoteOutcome::Here:
                if (tile.freshness.mayBeKept) {
                    link.kept->Keep(map, place, std::move(tile.bytes), tile.freshness);
                } else {
                    link.kept->Drop(map, place);
                }
                break;
            case RemoteOutcome::NotModified:
                if (tile.freshness.entityTag.empty() && tile.freshness.lastModified.empty()) {
                    tile.freshness.entityTag = known.entityTag;
                    tile.freshness.lastModified = known.lastModified;
                }
                link.kept->Refresh(map, place, tile.freshness);
                break;
            case RemoteOutcome::Absent:
                link.kept->Drop(map, place);
                break;
            case RemoteOutcome::Failed:
                NoteFailure(name);
                break;
        }
    });
}

}  // namespace Terrascope::Plugins

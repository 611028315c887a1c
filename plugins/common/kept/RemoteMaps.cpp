#include "plugins/common/kept/RemoteMaps.h"

#include <algorithm>
#include <utility>

#include "plugins/common/TileDelivery.h"
#include "plugins/common/WithoutThrowing.h"
#include "plugins/common/kept/KeptSettings.h"
#include "plugins/common/kept/RemoteIdentity.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kBetweenRefreshes = 10'000;  // milliseconds
constexpr std::uint64_t kBetweenLooks = 250;         // until the remote provider's maps are there,
constexpr std::uint64_t kBetweenComparisons = 10'000;  // and then
constexpr std::int64_t kDay = 86'400;                  // seconds
constexpr std::int64_t kLongestAge = 365 * kDay;
constexpr std::int64_t kUsualAge = 7 * kDay;  // of a tile without a server's word

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

/// A time that a clock that was wrong has left does not count.
bool IsExpired(const TileFreshness& freshness) {
    const std::int64_t now = SecondsNow();
    return freshness.expires <= now || freshness.fetched > now + kDay ||
           freshness.expires > now + kLongestAge + kDay;
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
    {
        CSingleLock lock(&m_lock, TRUE);
        if (std::exchange(m_hasEnded, true)) {
            return;  // the remote provider may be gone already
        }
    }
    if (auto* source = dynamic_cast<IRemoteSource*>(m_local.m_pRemoteProvider)) {
        source->Cancel();
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
        link.identity =
            link.source != nullptr ? link.source->Identity() : IdentityOf(*link.provider);
        const bool isFolder = !folder.empty();
        const bool hasOwnFiles = dynamic_cast<IHasOwnFiles*>(link.provider) != nullptr;
        const std::uint64_t limit = isFolder && !hasOwnFiles ? ReadKeptLimit(m_name) : 0;
        if (limit > 0 && !link.identity.empty()) {
            link.kept = CKeptTiles::Of(folder + L'\\' + kKeptFolder, limit);
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
    std::vector<tagTILE_MAP_INFO> records;
    for (const MapPtr& map : maps) {
        records.push_back(map->info);
    }
    LibraryPtr library = RemoteLibrary::Make(std::move(maps), std::move(records), false);
    CSingleLock lock(&m_lock, TRUE);
    m_library = m_library != nullptr ? m_library : library;
    return m_library;
}

CRemoteMaps::LibraryPtr CRemoteMaps::Publish(const Link& link,
                                             const std::vector<tagTILE_MAP_INFO>& maps,
                                             bool isCurrent, bool dropsNewer) {
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
    LibraryPtr library = RemoteLibrary::Make(std::move(made), maps, isCurrent);
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
            return isSame ? library : Publish(link, *maps, true, false);
        }
    }
    library = library != nullptr ? library : FromKept(link);
    if (library != nullptr && link.source != nullptr) {
        RefreshLater(link);
        return library;
    }
    if (!mayWait) {
        return library;
    }
    const bool isDue = IsRefreshDue();
    if (library != nullptr && !isDue) {
        return library;
    }
    const auto maps = Taken(link.provider->GetMapList());
    const auto all = link.source != nullptr ? link.source->MapsNow() : std::optional(maps);
    if (all && !all->empty()) {
        return Publish(link, *all, true, false);
    }
    // Better than nothing, though some servers' maps are missing.
    return maps.empty() ? library : Publish(link, maps, false, false);
}

bool CRemoteMaps::IsRefreshDue() {
    CSingleLock lock(&m_lock, TRUE);
    const std::uint64_t now = ::GetTickCount64();
    const bool isDue = now >= m_nextRefresh;
    m_nextRefresh = isDue ? now + kBetweenRefreshes : m_nextRefresh;
    return isDue;
}

void CRemoteMaps::RefreshLater(const Link& link) {
    if (!IsRefreshDue()) {
        return;
    }
    m_tasks.Add("maps", [this, link] {
        Taken(link.provider->GetMapList());  // waits for the servers
        const auto maps = link.source->MapsNow();
        if (maps && !maps->empty()) {
            Publish(link, *maps, true, false);
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
        others = library->records;
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
    const bool isToBeReached = link.source != nullptr && !link.identity.empty();
    if (isToBeReached && !isUpdated) {
        return false;
    }
    if (link.kept != nullptr) {
        const auto maps = link.source != nullptr
                              ? link.source->MapsNow()
                              : std::optional(Taken(link.provider->GetMapList()));
        if (maps && !maps->empty()) {
            Publish(link, *maps, true, flag);
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
        if (now >= m_nextLook) {
            const bool isCurrent = library != nullptr && library->isCurrent;
            m_nextLook = now + (isCurrent ? kBetweenComparisons : kBetweenLooks);
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
    RemoteTile tile;
    if (link.source != nullptr) {
        tile = link.source->LoadTile(map.info.strName, layerNumber, key, known);
        tile.freshness.expires = std::min(tile.freshness.expires, SecondsNow() + kLongestAge);
        return tile;
    }
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
    const auto kept = link.kept->Find(map, *place);
    const std::string name = kept ? NameOf(*map, *place) : std::string();
    if (kept && (!IsExpired(kept->freshness) || !m_pauses.MayTry(name) || link.source != nullptr)) {
        if (link.source != nullptr && IsExpired(kept->freshness) && m_pauses.MayTry(name)) {
            AskAgainLater(link, map, *place, key, kept->freshness);
        }
        return OneTile(*address, key, kept->bytes);
    }
    const auto tile = WithoutThrowing<RemoteTile>(
        m_name, [&] { return Ask(link, *map, address->layer, key, nullptr); });
    if (tile.outcome != RemoteOutcome::Here || tile.bytes.empty()) {
        if (kept) {
            m_pauses.NoteFailure(name);
        }
        return kept ? OneTile(*address, key, kept->bytes) : std::list<tagTILE_IMAGE*>();
    }
    if (tile.freshness.mayBeKept && IsPresent(link, *map)) {
        link.kept->Keep(map, *place, tile.bytes, tile.freshness);
    }
    return OneTile(*address, key, tile.bytes);
}

bool CRemoteMaps::IsPresent(const Link& link, const KeptMap& map) {
    const std::unique_ptr<tagTILE_MAP_INFO> present(link.provider->GetMapInfo(map.info.strName));
    if (present != nullptr && HasSamePlaces(*present, map.info)) {
        return true;
    }
    CSingleLock lock(&m_lock, TRUE);
    m_nextLook = 0;
    return false;
}

void CRemoteMaps::AskAgainLater(const Link& link, const MapPtr& map, const KeptPlace& place,
                                const CString& key, const TileFreshness& known) {
    const std::string name = NameOf(*map, place);
    m_tasks.Add(name, [=, this] {
        RemoteTile tile = Ask(link, *map, place.zoom, key, &known);
        if (tile.outcome == RemoteOutcome::Failed) {
            m_pauses.NoteFailure(name);
            return;
        }
        if (!IsPresent(link, *map)) {
            return;  // it is of another place
        }
        const bool isHere =
            tile.outcome == RemoteOutcome::Here || tile.outcome == RemoteOutcome::NotModified;
        if (isHere && !tile.freshness.mayBeKept) {
            tile.outcome = RemoteOutcome::Absent;
        }
        switch (tile.outcome) {
            case RemoteOutcome::Here:
                link.kept->Keep(map, place, std::move(tile.bytes), tile.freshness);
                break;
            case RemoteOutcome::NotModified:
                if (tile.freshness.entityTag.empty() && tile.freshness.lastModified.empty()) {
                    tile.freshness.entityTag = known.entityTag;
                    tile.freshness.lastModified = known.lastModified;
                }
                link.kept->Refresh(map, place, tile.freshness);
                break;
            default:
                link.kept->Drop(map, place);
                break;
        }
    });
}

}  // namespace Terrascope::Plugins

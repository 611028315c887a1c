#include "plugins/web/WebTileMapInfoProvider.h"

#include "plugins/common/PlainText.h"
#include "plugins/common/SafePath.h"
#include "plugins/common/TileDelivery.h"
#include "plugins/common/WithoutThrowing.h"
#include "plugins/web/CacheHeaders.h"
#include "plugins/web/DataPath.h"
#include "plugins/web/WebSettings.h"
#include "terrascope/support/text/MultibyteText.h"
#include "terrascope/tiles/ImageHeader.h"

namespace Terrascope::Plugins {
namespace {

template <class TResult, class TWork>
TResult Safely(TWork work) {
    return WithoutThrowing<TResult>(CWebTileMapInfoProvider::kName, work);
}

/// Servers send error pages and vector tiles with every status.
bool IsImage(const std::vector<std::uint8_t>& bytes) {
    switch (ReadImageHeader(bytes).format) {
        case ImageFormat::Unknown:
        case ImageFormat::Gzip:
        case ImageFormat::Markup:
            return false;
        default:
            return true;
    }
}

/// FNV-1a in 64 bits: a name, not meant to protect what it is made of. A short key in an address
/// that is known otherwise could be found by trial.
std::string HashOf(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    }
    constexpr char kDigits[] = "0123456789abcdef";
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4) {
        digits += kDigits[hash >> shift & 0xF];
    }
    return digits;
}

}  // namespace

CWebTileMapInfoProvider::~CWebTileMapInfoProvider() {
    delete m_pRemoteProvider;
}

std::shared_ptr<CMapReading> CWebTileMapInfoProvider::Reading() {
    CSingleLock lock(&m_lock, TRUE);
    return m_reading;
}

bool CWebTileMapInfoProvider::UpdateMapLib(bool) {
    return Safely<bool>([this] {
        const auto reading = Reading();
        if (reading == nullptr) {
            return false;
        }
        reading->Begin();
        return reading->Await(m_cancellation);
    });
}

void CWebTileMapInfoProvider::SetDataPath(const CString& path) {
    Safely<bool>([&] {
        const auto wide = ToWide(Trimmed(ViewOf(path)));
        if (!wide) {
            LogLine("the data path is not valid in the active code page");
            return false;
        }
        const std::string text = Utf8FromWide(*wide);
        constexpr char kSecure[] = "https:";
        const bool isSecure = ::_strnicmp(text.c_str(), kSecure, sizeof kSecure - 1) == 0;
        HttpIdentity identity = ReadIdentity(isSecure);
        const DataPath parsed = DataPath::Parse(text);
        const auto address = HttpAddress::Parse(parsed.address);
        if (address && !parsed.IsTemplate()) {
            // What a document there names elsewhere is not to have the keys.
            identity.origin = address->Origin();
        }
        const auto reading = CMapReading::OfProcess(text, identity);
        reading->BeginIfOld();
        CSingleLock lock(&m_lock, TRUE);
        m_identity = identity;
        m_reading = reading;
        m_dataPath = text;
        return true;
    });
}

std::list<tagTILE_MAP_INFO*> CWebTileMapInfoProvider::GetMapList() {
    return Safely<std::list<tagTILE_MAP_INFO*>>([this] {
        std::list<tagTILE_MAP_INFO*> maps;
        if (const auto reading = Reading(); reading != nullptr) {
            for (const auto& map : *reading->Library(m_cancellation)) {
                maps.push_back(new tagTILE_MAP_INFO(map->info));
            }
        }
        return maps;
    });
}

std::shared_ptr<const WebMap> CWebTileMapInfoProvider::FindMap(const CString& mapName) {
    const auto reading = Reading();
    if (reading == nullptr) {
        return nullptr;
    }
    const auto library = reading->Library(m_cancellation);
    for (const auto& map : *library) {
        if (map->info.strName.CompareNoCase(mapName) == 0) {
            return map;
        }
    }
    return nullptr;
}

tagTILE_MAP_INFO* CWebTileMapInfoProvider::GetMapInfo(const CString& mapName) {
    return Safely<tagTILE_MAP_INFO*>([&] {
        const auto map = FindMap(mapName);
        return map != nullptr ? new tagTILE_MAP_INFO(map->info) : nullptr;
    });
}

std::list<tagTILE_MAP_LAYER_INFO*> CWebTileMapInfoProvider::GetLayerList(const CString& mapName) {
    return Safely<std::list<tagTILE_MAP_LAYER_INFO*>>([&] {
        std::list<tagTILE_MAP_LAYER_INFO*> layers;
        if (const auto map = FindMap(mapName); map != nullptr) {
            for (const tagTILE_MAP_LAYER_INFO& layer : map->layers) {
                layers.push_back(new tagTILE_MAP_LAYER_INFO(layer));
            }
        }
        return layers;
    });
}

tagTILE_MAP_LAYER_INFO* CWebTileMapInfoProvider::GetLayerInfo(const CString& mapName,
                                                              int layerNumber) {
    return Safely<tagTILE_MAP_LAYER_INFO*>([&]() -> tagTILE_MAP_LAYER_INFO* {
        if (const auto map = FindMap(mapName); map != nullptr) {
            for (const tagTILE_MAP_LAYER_INFO& layer : map->layers) {
                if (layer.nLayerNumber == layerNumber) {
                    return new tagTILE_MAP_LAYER_INFO(layer);
                }
            }
        }
        return nullptr;
    });
}

/// What the server answers for a tile; an answer that is no image is a failure. Failures are
/// logged.
HttpResult CWebTileMapInfoProvider::Fetch(const WebMap& map,
                                          const std::optional<TileAddress>& address,
                                          int layerNumber, const CString& key,
                                          const HttpHeaders& conditions) {
    HttpResult result;
    const auto place =
        address && address->layer == layerNumber ? map.grid.Locate(*address) : std::nullopt;
    if (!place || m_cancellation.IsCancelled()) {
        result.outcome = place ? HttpOutcome::Cancelled : HttpOutcome::Absent;
        return result;
    }
    HttpIdentity identity;
    {
        CSingleLock lock(&m_lock, TRUE);
        identity = m_identity;
    }
    result = map.source->Load(layerNumber, *place, {HttpFetcher::OfProcess(), identity},
                              m_cancellation, conditions);
    if (result.outcome == HttpOutcome::Here && !IsImage(result.response.body)) {
        result.outcome = HttpOutcome::Failed;
        result.reason = "it is no image";
        HttpFetcher::OfProcess().Refused(result.address, result.reason);
    }
    if (result.outcome == HttpOutcome::Failed) {
        LogTileFailure(key, (result.address.ForLog() + ": " + result.reason).c_str());
    }
    return result;
}

std::list<tagTILE_IMAGE*> CWebTileMapInfoProvider::LoadOne(const WebMap& map, int layerNumber,
                                                           const CString& key) {
    const auto address = ParseTileKey(ViewOf(key));
    const HttpResult result = Fetch(map, address, layerNumber, key, {});
    if (result.outcome == HttpOutcome::Here) {
        return OneTile(*address, key, result.response.body);
    }
    return m_pRemoteProvider != nullptr && result.outcome != HttpOutcome::Cancelled
               ? m_pRemoteProvider->LoadTiles(map.info.strName, layerNumber, {key})
               : std::list<tagTILE_IMAGE*>();
}

RemoteTile CWebTileMapInfoProvider::LoadTile(const CString& mapName, int layerNumber,
                                             const CString& key, const TileFreshness* known) {
    return Safely<RemoteTile>([&] {
        RemoteTile tile;
        const auto map = FindMap(mapName);
        if (map == nullptr) {
            if (const auto reading = Reading(); reading != nullptr) {
                reading->BeginIfFailed();
            }
            return tile;
        }
        const TileFreshness nothing;
        const TileFreshness& of = known != nullptr ? *known : nothing;
        HttpResult result =
            Fetch(*map, ParseTileKey(ViewOf(key)), layerNumber, key, ConditionsOf(of));
        switch (result.outcome) {
            case HttpOutcome::Here:
                tile.outcome = RemoteOutcome::Here;
                tile.freshness = FreshnessOf(result.response);
                tile.bytes = std::move(result.response.body);
                break;
            case HttpOutcome::NotModified:
                tile.outcome = RemoteOutcome::NotModified;
                tile.freshness = Renewed(of, result.response);
                break;
            case HttpOutcome::Absent:
                tile.outcome = RemoteOutcome::Absent;
                break;
            case HttpOutcome::Failed:
            case HttpOutcome::Cancelled:
                break;
        }
        return tile;
    });
}

std::optional<std::vector<tagTILE_MAP_INFO>> CWebTileMapInfoProvider::MapsNow() {
    using Maps = std::optional<std::vector<tagTILE_MAP_INFO>>;
    return Safely<Maps>([this]() -> Maps {
        const auto reading = Reading();
        if (reading == nullptr) {
            return std::nullopt;
        }
        reading->BeginIfFailed();
        const auto library = reading->LibraryNow();
        if (library == nullptr) {
            return std::nullopt;
        }
        Maps maps(std::in_place);
        for (const auto& map : *library) {
            maps->push_back(map->info);
        }
        return maps;
    });
}

std::string CWebTileMapInfoProvider::Identity() {
    return Safely<std::string>([this] {
        CSingleLock lock(&m_lock, TRUE);
        return m_dataPath.empty() ? std::string() : HashOf(m_dataPath);
    });
}

std::list<tagTILE_IMAGE*> CWebTileMapInfoProvider::LoadTiles(const CString& mapName,
                                                             int layerNumber,
                                                             const std::list<CString>& tileKeys) {
    return Safely<std::list<tagTILE_IMAGE*>>([&] {
        const auto map = FindMap(mapName);
        return map != nullptr
                   ? LoadEach(kName, tileKeys,
                              [&](const CString& key) { return LoadOne(*map, layerNumber, key); })
                   : std::list<tagTILE_IMAGE*>();
    });
}

}  // namespace Terrascope::Plugins

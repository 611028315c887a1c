#pragma once

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "plugins/common/kept/KeptTiles.h"
#include "plugins/common/kept/RemoteSource.h"
#include "terrascope/providers/ITileMapInfoProvider.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace TerrascopeTest {

using namespace Terrascope;
using namespace Terrascope::Plugins;

/// A part of the web maps' grid in layers 2 and 3: second column and first row of layer 2, two
/// columns and rows.
inline tagTILE_MAP_INFO WebMapInfo(const char* name = "Web", WORD year = 2020) {
    tagTILE_MAP_INFO info;
    info.strName = name;
    info.stUpdateTime = {year, 2, 0, 3, 4, 5, 6, 0};
    info.strTileFormat = "png";
    info.nFirstLayer = 2;
    info.nLayerCount = 2;
    info.dLongitudeStart = -90;
    info.dLatitudeStart = 0;
    info.dLongitude = 180;
    info.dLatitude = 180;
    info.nTileWidth = info.nTileHeight = 256;
    info.strRemark = "(c) somebody";
    return info;
}
inline std::vector<tagTILE_MAP_LAYER_INFO> LayersOf(const tagTILE_MAP_INFO& info) {
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    for (int i = 0; i < info.nLayerCount; ++i) {
        layers.push_back({info.nFirstLayer + i, 2 << i, 2 << i, 256, 256, 1.0});
    }
    return layers;
}

inline const std::int64_t kLater = SecondsNow() + 3600;

/// A server, for the providers that ask it.
struct Server {
    std::mutex mutex;
    std::vector<tagTILE_MAP_INFO> maps{WebMapInfo()};
    RemoteTile tile{RemoteOutcome::Here, {'t', 'i', 'l', 'e'}, {true, "\"1\"", "", 1, kLater}};
    std::string asked;  ///< the keys, each with the entity tag that was known
    std::string identity = "0123456789abcdef";
    std::atomic<int> lists{0};  ///< that were asked for
    std::atomic<bool> isUp{true};
    std::atomic<bool> isPartial{false};  ///< only the first map's part of it is up
    std::atomic<bool> hangs{false};
    std::atomic<int> waiting{0};
};

class FakeRemote : public ITileMapInfoProvider, public IRemoteSource {
public:
    explicit FakeRemote(Server& server) : m_server(server) {}

    bool UpdateMapLib(bool) override { return m_server.isUp; }
    void SetDataPath(const CString&) override {}
    std::list<tagTILE_MAP_INFO*> GetMapList() override {
        std::list<tagTILE_MAP_INFO*> list;
        WaitForServer();
        auto maps = MapsNow().value_or(std::vector<tagTILE_MAP_INFO>());
        if (m_server.isPartial) {
            maps = {m_server.maps.front()};
        }
        for (const tagTILE_MAP_INFO& map : maps) {
            list.push_back(new tagTILE_MAP_INFO(map));
        }
        ++m_server.lists;
        return list;
    }
    tagTILE_MAP_INFO* GetMapInfo(const CString& name) override {
        const std::lock_guard lock(m_server.mutex);
        for (const tagTILE_MAP_INFO& map : m_server.maps) {
            if (map.strName.CompareNoCase(name) == 0) {
                return new tagTILE_MAP_INFO(map);
            }
        }
        return nullptr;
    }
    std::list<tagTILE_MAP_LAYER_INFO*> GetLayerList(const CString& name) override {
        std::list<tagTILE_MAP_LAYER_INFO*> list;
        const std::lock_guard lock(m_server.mutex);
        for (const tagTILE_MAP_INFO& map : m_server.maps) {
            for (const auto& layer : LayersOf(map)) {
                if (map.strName == name) {
                    list.push_back(new tagTILE_MAP_LAYER_INFO(layer));
                }
            }
        }
        return list;
    }
    tagTILE_MAP_LAYER_INFO* GetLayerInfo(const CString&, int) override { return nullptr; }
    std::list<tagTILE_IMAGE*> LoadTiles(const CString&, int, const std::list<CString>&) override {
        return {};
    }

    RemoteTile LoadTile(const CString&, int, const CString& key,
                        const TileFreshness* known) override {
        WaitForServer();
        const std::lock_guard lock(m_server.mutex);
        m_server.asked += std::string(key.GetString()) +
                          (known != nullptr ? known->entityTag : std::string()) + " ";
        return m_server.isUp && !m_isCancelled ? m_server.tile : RemoteTile();
    }
    std::optional<std::vector<tagTILE_MAP_INFO>> MapsNow() override {
        const std::lock_guard lock(m_server.mutex);
        return m_server.isUp && !m_server.hangs && !m_server.isPartial
                   ? std::optional(m_server.maps)
                   : std::nullopt;
    }
    std::string Identity() override { return m_server.identity; }
    void Cancel() override { m_isCancelled = true; }

private:
    void WaitForServer() {
        ++m_server.waiting;
        Await([this] { return !m_server.hangs || m_isCancelled; });
        --m_server.waiting;
    }

    Server& m_server;
    std::atomic<bool> m_isCancelled{false};
};

/// A folder of kept tiles, and what is in its files.
class KeptFixture : public testing::Test {
public:
    /// The first column of all rows, or what went wrong.
    static std::string Query(const std::string& path, const std::string& sql) {
        sqlite3* database = nullptr;
        std::string result;
        if (sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
            const auto add = [](void* text, int, char** values, char**) {
                static_cast<std::string*>(text)->append(values[0] != nullptr ? values[0] : "null");
                static_cast<std::string*>(text)->append(" ");
                return 0;
            };
            sqlite3_busy_timeout(database, 5000);
            sqlite3_exec(database, sql.c_str(), add, &result, nullptr);
        }
        if (sqlite3_errcode(database) != SQLITE_OK) {
            result += sqlite3_errmsg(database);
        }
        sqlite3_close(database);
        return result;
    }

protected:
    KeptFixture() { m_folder.MakeFolder("data"); }

    std::wstring Kept() const {
        const std::string path = m_folder / "data\\kept";  // ASCII
        return {path.begin(), path.end()};
    }
    std::string KeptPath(const std::string& file = "Web.mbtiles") const {
        return m_folder / ("data\\kept\\" + file);
    }
    static CKeptTiles::Map MapOf(const tagTILE_MAP_INFO& info = WebMapInfo(),
                                 const char* identity = "0123456789abcdef") {
        return KeptMap::Make(identity, info, LayersOf(info));
    }
    static std::string Found(CKeptTiles& tiles, const CKeptTiles::Map& map, const KeptPlace& at) {
        const auto tile = tiles.Find(map, at);
        return tile ? std::string(tile->bytes.begin(), tile->bytes.end()) : "none";
    }
    static std::vector<std::uint8_t> Bytes(const std::string& text) {
        return {text.begin(), text.end()};
    }

    TemporaryFolder m_folder;
    LogCapture m_log;
};

}  // namespace TerrascopeTest

#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "plugins/db/DBTileMapInfoProvider.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace TerrascopeTest {

/// A folder of archives and a provider for it. What a tile holds is text unless a test needs a
/// picture: the library looks into it, the provider only into the first of a map.
class ArchiveFixture : public testing::Test {
protected:
    using Provider = Terrascope::Plugins::CDBTileMapInfoProvider;

    /// Runs SQL on a database in the folder, which is made if it is not there.
    void Execute(const std::string& file, const std::string& sql) const {
        sqlite3* database = nullptr;
        // The test's path is ASCII, so UTF-8 too.
        ASSERT_EQ(SQLITE_OK, sqlite3_open((m_folder / file).c_str(), &database));
        char* error = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(database, ("PRAGMA synchronous = OFF;" + sql).c_str(),
                                          nullptr, nullptr, &error))
            << error << "\n"
            << sql;
        sqlite3_free(error);
        sqlite3_close(database);
    }

    void Open(const std::string& path = "") {
        m_provider = std::make_unique<Provider>();
        m_provider->SetDataPath((path.empty() ? m_folder.Path() : m_folder / path).c_str());
    }

    /// A map in one line: name, format, layers, size of the first and of the last, extent, tile.
    std::string MapText(const char* name) const {
        const std::unique_ptr<Terrascope::tagTILE_MAP_INFO> map(m_provider->GetMapInfo(name));
        if (map == nullptr) {
            return "none";
        }
        const int last = map->nFirstLayer + map->nLayerCount - 1;
        EXPECT_EQ(nullptr, m_provider->GetLayerInfo(name, last + 1));
        const auto rounded = [](double value) { return std::round(value * 1e6) / 1e6 + 0.0; };
        CString text;
        text.Format("%s %s %d-%d %s..%s (%g %g %g %g) %dx%d", map->strName.GetString(),
                    map->strTileFormat.GetString(), map->nFirstLayer, last,
                    LayerText(name, map->nFirstLayer).c_str(), LayerText(name, last).c_str(),
                    rounded(map->dLongitudeStart), rounded(map->dLatitudeStart),
                    rounded(map->dLongitude), rounded(map->dLatitude), map->nTileWidth,
                    map->nTileHeight);
        return text.GetString();
    }
    std::string Remark(const char* name) const {
        const std::unique_ptr<Terrascope::tagTILE_MAP_INFO> map(m_provider->GetMapInfo(name));
        return map != nullptr ? map->strRemark.GetString() : "none";
    }
    std::vector<std::string> MapNames() const {
        std::vector<std::string> names;
        for (Terrascope::tagTILE_MAP_INFO* map : m_provider->GetMapList()) {
            names.emplace_back(map->strName.GetString());
            delete map;
        }
        return names;
    }

    /// What the tile holds; "none" when there is none.
    std::string Tile(const char* map, const char* key) const {
        std::string bytes = "none";
        for (Terrascope::tagTILE_IMAGE* tile :
             m_provider->LoadTiles(map, static_cast<int>(strlen(key)), {key})) {
            const auto content = tile->stream.Bytes();
            bytes.assign(content.begin(), content.end());
            EXPECT_STREQ(key, tile->strKey);
            delete tile;
        }
        return bytes;
    }

    TemporaryFolder m_folder;
    LogCapture m_log;
    std::unique_ptr<Provider> m_provider;

private:
    std::string LayerText(const char* name, int layer) const {
        const std::unique_ptr<Terrascope::tagTILE_MAP_LAYER_INFO> record(
            m_provider->GetLayerInfo(name, layer));
        return record != nullptr
                   ? std::to_string(record->nTileCountX) + "x" + std::to_string(record->nTileCountY)
                   : "none";
    }
};

/// SQL for an MBTiles file whose tiles hold "zoom/column/row", rows from the bottom: all tiles of
/// the zoom levels with columns and rows from `first` to `last` of the lowest level.
std::string MbtilesSql(int lowest, int highest, int first, int last,
                       const std::string& metadata = "");

}  // namespace TerrascopeTest

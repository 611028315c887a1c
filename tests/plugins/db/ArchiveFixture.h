#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "plugins/db/DBTileMapInfoProvider.h"
#include "tests/fixtures/ProviderFixture.h"

namespace TerrascopeTest {

/// A folder of archives and a provider for it. What a tile holds is text unless a test needs a
/// picture: the library looks into it, the provider only into the first of a map.
class ArchiveFixture : public ProviderFixture<Terrascope::Plugins::CDBTileMapInfoProvider> {
protected:
    /// Runs SQL on a database in the folder, which is made if it is not there.
    void Execute(const std::string& file, const std::string& sql) const {
        sqlite3* database = nullptr;
        // The test's path is ASCII, so UTF-8 too.
        ASSERT_EQ(SQLITE_OK, sqlite3_open((m_folder / file).c_str(), &database));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(database, ("PRAGMA synchronous = OFF;" + sql).c_str(),
                                          nullptr, nullptr, nullptr))
            << sqlite3_errmsg(database) << "\n"
            << sql;
        sqlite3_close(database);
    }
    /// Anew, as the only content of the file.
    void ExecuteAnew(const std::string& file, const std::string& sql) {
        m_provider.reset();
        ::DeleteFileA((m_folder / file).c_str());
        Execute(file, sql);
    }
    void Open(const std::string& path = "") {
        ProviderFixture::Open(path.empty() ? m_folder.Path() : m_folder / path);
    }
};

/// SQL for a line of an MBTiles file's metadata.
inline std::string Metadata(const std::string& name, const std::string& value) {
    return "INSERT INTO metadata VALUES ('" + name + "', '" + value + "');";
}

/// SQL for an MBTiles file whose tiles hold "zoom/column/row", rows from the bottom: all tiles of
/// the zoom levels with columns and rows from `first` to `last` of the lowest level.
inline std::string MbtilesSql(int lowest, int highest, int first, int last,
                              const std::string& metadata = "") {
    std::string sql =
        "CREATE TABLE metadata (name TEXT, value TEXT);"
        "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER, tile_row INTEGER, "
        "tile_data BLOB);"
        "CREATE UNIQUE INDEX tile_index ON tiles (zoom_level, tile_column, tile_row);";
    for (int zoom = lowest; zoom <= highest; ++zoom) {
        const int scale = 1 << (zoom - lowest);
        const std::string from = std::to_string(first * scale);
        const std::string to = std::to_string((last + 1) * scale - 1);
        const std::string z = std::to_string(zoom);
        sql += "WITH RECURSIVE n(i) AS (SELECT " + from +
               " UNION ALL SELECT i + 1 FROM n WHERE i < " + to + ") INSERT INTO tiles SELECT " +
               z + ", a.i, b.i, CAST('" + z + "/' || a.i || '/' || b.i AS BLOB) FROM n a, n b;";
    }
    return sql + metadata;
}

}  // namespace TerrascopeTest

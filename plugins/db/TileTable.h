#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plugins/common/TileImageHeader.h"
#include "plugins/common/sqlite/Sqlite.h"
#include "plugins/db/ArchiveGrid.h"

namespace Terrascope::Plugins {

/// What a table (or view) of tiles shows of itself by way of the index on zoom level, column and
/// row that MBTiles recommends and GeoPackage prescribes. Rows are counted as the table counts
/// them.
///
/// Borrows: the connection.
class CTileTable {
public:
    CTileTable(CSqliteConnection& database, const std::string& name);

    /// The query of one tile; see SqliteMaps.
    std::string TileQuery() const;

    /// Of the first and the last tile; nothing when there is none.
    std::optional<int> LowestZoom();
    std::optional<int> HighestZoom();

    /// The area of a zoom level's tiles in a matrix of so many columns and rows; the whole matrix
    /// when there is no tile in it. The index finds rows by their column: where there are more
    /// columns than are worth the look, or than there is time for, all rows are taken.
    TileRange UsedTiles(int zoom, std::int64_t columns, std::int64_t rows);

    /// The header of one of a zoom level's tiles: of the first four, the first one with a size.
    TileImageHeader SomeHeader(int zoom);

    /// All queries that this class and TileQuery make, each to be answered from the index.
    std::vector<std::string> Queries() const;

private:
    CSqliteStatement Prepare(const char* select, const char* rest);
    std::string Query(const char* select, const char* rest) const;

    CSqliteConnection& m_database;
    const std::string m_name;  ///< quoted
};

}  // namespace Terrascope::Plugins

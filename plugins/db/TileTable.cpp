#include "plugins/db/TileTable.h"

#include <algorithm>

namespace Terrascope::Plugins {
namespace {

struct QueryText {
    const char* select;
    const char* rest;  ///< behind the table's name
};
// min() and max() would not go by the index in all cases, and not through views.
constexpr QueryText kLowestZoom{"zoom_level", "ORDER BY zoom_level LIMIT 1"};
constexpr QueryText kHighestZoom{"zoom_level", "ORDER BY zoom_level DESC LIMIT 1"};
constexpr QueryText kNextColumn{
    "tile_column", "WHERE zoom_level = ?1 AND tile_column > ?2 ORDER BY tile_column LIMIT 1"};
constexpr QueryText kLastColumn{"tile_column",
                                "WHERE zoom_level = ?1 ORDER BY tile_column DESC LIMIT 1"};
constexpr QueryText kLowestRow{
    "tile_row", "WHERE zoom_level = ?1 AND tile_column = ?2 ORDER BY tile_row LIMIT 1"};
constexpr QueryText kHighestRow{
    "tile_row", "WHERE zoom_level = ?1 AND tile_column = ?2 ORDER BY tile_row DESC LIMIT 1"};
constexpr QueryText kSomeTiles{"tile_data", "WHERE zoom_level = ?1 LIMIT 4"};
constexpr QueryText kOneTile{"tile_data",
                             "WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3"};

/// The first column of the first row; nothing when there is no row or it is empty.
std::optional<std::int64_t> First(CSqliteStatement& query) {
    const bool isThere = query.Next() && !query.IsNull(0);
    const auto value = isThere ? std::optional(query.Whole(0)) : std::nullopt;
    query.Rewind();
    return value;
}

std::optional<int> FirstZoom(CSqliteStatement query) {
    const std::optional<std::int64_t> zoom = First(query);
    return zoom ? std::optional(static_cast<int>(
                      std::clamp<std::int64_t>(*zoom, -1, kDeepestAddressableLayer + 1)))
                : std::nullopt;
}

}  // namespace

CTileTable::CTileTable(CSqliteConnection& database, const std::string& name)
    : m_database(database), m_name(QuotedName(name)) {}

std::string CTileTable::Query(const char* select, const char* rest) const {
    return std::string("SELECT ") + select + " FROM " + m_name + " " + rest;
}

CSqliteStatement CTileTable::Prepare(const char* select, const char* rest) {
    return m_database.Prepare(Query(select, rest));
}

std::string CTileTable::TileQuery() const {
    return Query(kOneTile.select, kOneTile.rest);
}

std::optional<int> CTileTable::LowestZoom() {
    return FirstZoom(Prepare(kLowestZoom.select, kLowestZoom.rest));
}

std::optional<int> CTileTable::HighestZoom() {
    return FirstZoom(Prepare(kHighestZoom.select, kHighestZoom.rest));
}

TileRange CTileTable::UsedTiles(int zoom, std::int64_t columns, std::int64_t rows) {
    constexpr int kMostColumns = 4096;
    TileRange range{0, 0, columns - 1, rows - 1};
    CSqliteStatement next = Prepare(kNextColumn.select, kNextColumn.rest);
    CSqliteStatement last = Prepare(kLastColumn.select, kLastColumn.rest);
    const auto firstColumn = First(next.Bind(1, std::int64_t{zoom}).Bind(2, std::int64_t{-1}));
    const auto lastColumn = First(last.Bind(1, std::int64_t{zoom}));
    // A column may hold texts, which are in order behind all numbers whatever their value.
    if (!firstColumn || !lastColumn || *firstColumn < 0 || *firstColumn >= columns ||
        *lastColumn < *firstColumn) {
        return range;
    }
    range.firstColumn = *firstColumn;
    range.lastColumn = std::min(*lastColumn, columns - 1);
    CSqliteStatement lowest = Prepare(kLowestRow.select, kLowestRow.rest);
    CSqliteStatement highest = Prepare(kHighestRow.select, kHighestRow.rest);
    std::int64_t firstRow = rows;
    std::int64_t lastRow = -1;
    std::optional<std::int64_t> column = firstColumn;
    for (int count = 0; column && *column < columns; ++count) {
        if (count == kMostColumns) {
            return range;
        }
        firstRow = std::min(firstRow,
                            First(lowest.Bind(1, std::int64_t{zoom}).Bind(2, *column)).value_or(0));
        lastRow = std::max(
            lastRow, First(highest.Bind(1, std::int64_t{zoom}).Bind(2, *column)).value_or(rows));
        column = First(next.Bind(1, std::int64_t{zoom}).Bind(2, *column));
    }
    if (next.HasFailed()) {
        return range;  // the columns that were not reached have rows too
    }
    firstRow = std::max<std::int64_t>(firstRow, 0);
    lastRow = std::min(lastRow, rows - 1);
    if (firstRow <= lastRow) {
        range.firstRow = firstRow;
        range.lastRow = lastRow;
    }
    return range;
}

TileImageHeader CTileTable::SomeHeader(int zoom) {
    CSqliteStatement tiles = Prepare(kSomeTiles.select, kSomeTiles.rest);
    tiles.Bind(1, std::int64_t{zoom});
    TileImageHeader header;
    while (header.width == 0 && tiles.Next()) {
        header = ReadTileImageHeader(tiles.Bytes(0));
    }
    return header;
}

std::vector<std::string> CTileTable::Queries() const {
    std::vector<std::string> queries;
    for (const QueryText& query : {kLowestZoom, kHighestZoom, kNextColumn, kLastColumn, kLowestRow,
                                   kHighestRow, kSomeTiles, kOneTile}) {
        queries.push_back(Query(query.select, query.rest));
    }
    return queries;
}

}  // namespace Terrascope::Plugins

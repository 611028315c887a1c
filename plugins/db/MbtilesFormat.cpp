#include "plugins/db/MbtilesFormat.h"

#include <algorithm>
#include <map>

#include "plugins/common/PlainText.h"
#include "plugins/common/TileImageHeader.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kMetadataQuery[] =
    "SELECT name, value FROM metadata WHERE name IN ('name', 'format', 'bounds', 'minzoom', "
    "'maxzoom', 'attribution', 'description') LIMIT 100";
constexpr int kUsualTile = 256;  // pixels

using Metadata = std::map<std::string, std::string, std::less<>>;

std::string ValueOf(const Metadata& metadata, std::string_view name) {
    const auto found = metadata.find(name);
    return found != metadata.end() ? found->second : std::string();
}

/// Empty when there is no such table.
Metadata ReadMetadata(CSqliteConnection& database) {
    Metadata metadata;
    CSqliteStatement rows = database.Prepare(kMetadataQuery);
    while (rows.Next()) {
        metadata.emplace(rows.Text(0), rows.Text(1));
    }
    return metadata;
}

/// The first column of the first row; nothing when there is no row or it is no number.
std::optional<std::int64_t> First(CSqliteStatement& query) {
    const bool isThere = query.Next() && !query.IsNull(0);
    const auto value = isThere ? std::optional(query.Whole(0)) : std::nullopt;
    query.Rewind();
    return value;
}

// Each of these goes by the index that the specification recommends; min() and max() would not in
// all cases, and not through views.
constexpr char kLowestZoom[] = "SELECT zoom_level FROM tiles ORDER BY zoom_level LIMIT 1";
constexpr char kHighestZoom[] = "SELECT zoom_level FROM tiles ORDER BY zoom_level DESC LIMIT 1";
constexpr char kFirstColumn[] =
    "SELECT tile_column FROM tiles WHERE zoom_level = ?1 AND tile_column > ?2 ORDER BY tile_column "
    "LIMIT 1";
constexpr char kLastColumn[] =
    "SELECT tile_column FROM tiles WHERE zoom_level = ?1 ORDER BY tile_column DESC LIMIT 1";
constexpr char kLowestRow[] =
    "SELECT tile_row FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2 ORDER BY tile_row "
    "LIMIT 1";
constexpr char kHighestRow[] =
    "SELECT tile_row FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2 ORDER BY tile_row DESC "
    "LIMIT 1";
constexpr char kSomeTiles[] = "SELECT tile_data FROM tiles WHERE zoom_level = ?1 LIMIT 4";
constexpr char kOneTile[] =
    "SELECT tile_data FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3";

/// A zoom level of the metadata, or else that of the first tile; nothing when there are no tiles.
std::optional<int> ZoomOf(const std::string& text, CSqliteStatement tiles) {
    std::optional<std::int64_t> zoom = ParseWhole(text);
    if (!zoom || *zoom < 0 || *zoom > kDeepestAddressableLayer) {
        zoom = First(tiles);
    }
    return zoom ? std::optional(static_cast<int>(
                      std::clamp<std::int64_t>(*zoom, -1, kDeepestAddressableLayer + 1)))
                : std::nullopt;
}

/// The area of a zoom level's tiles. The index finds rows by their column; where there are more
/// columns than are worth it, all rows are taken.
std::optional<TileRange> RangeOfTiles(CSqliteConnection& database, int zoom) {
    constexpr int kMostColumns = 4096;
    const std::int64_t last = (std::int64_t{1} << zoom) - 1;
    CSqliteStatement east = database.Prepare(kLastColumn);
    CSqliteStatement next = database.Prepare(kFirstColumn);
    const auto firstColumn = First(next.Bind(1, std::int64_t{zoom}).Bind(2, std::int64_t{-1}));
    const auto lastColumn = First(east.Bind(1, std::int64_t{zoom}));
    if (!firstColumn || !lastColumn || *firstColumn > last) {
        return std::nullopt;
    }
    TileRange range{*firstColumn, 0, std::min(*lastColumn, last), last};
    CSqliteStatement south = database.Prepare(kLowestRow);
    CSqliteStatement north = database.Prepare(kHighestRow);
    std::optional<std::int64_t> lowest;
    std::optional<std::int64_t> highest;
    std::optional<std::int64_t> column = firstColumn;
    for (int columns = 0; column; ++columns) {
        if (columns == kMostColumns) {
            return range;
        }
        const auto low = First(south.Bind(1, std::int64_t{zoom}).Bind(2, *column));
        const auto high = First(north.Bind(1, std::int64_t{zoom}).Bind(2, *column));
        if (low && high) {
            lowest = std::min(lowest.value_or(*low), *low);
            highest = std::max(highest.value_or(*high), *high);
        }
        column = First(next.Bind(1, std::int64_t{zoom}).Bind(2, *column));
    }
    if (lowest && *lowest <= last && *highest >= 0) {
        range.firstRow = last - std::min(*highest, last);
        range.lastRow = last - std::max<std::int64_t>(*lowest, 0);
    }
    return range;
}

std::optional<TileRange> RangeOfBounds(const std::string& text, int zoom) {
    const auto bounds = ParseReals(text);
    return bounds && bounds->size() == 4
               ? MercatorTiles({(*bounds)[0], (*bounds)[1], (*bounds)[2], (*bounds)[3]}, zoom)
               : std::nullopt;
}

/// The header of the first tiles of a zoom level: of the first one that has a size.
TileImageHeader HeaderOfTiles(CSqliteConnection& database, int zoom) {
    CSqliteStatement tiles = database.Prepare(kSomeTiles);
    tiles.Bind(1, std::int64_t{zoom});
    TileImageHeader header;
    while (header.width == 0 && tiles.Next()) {
        header = ReadTileImageHeader(tiles.Bytes(0));
    }
    return header;
}

bool NamesVectors(std::string_view format) {
    return format == "pbf" || format == "mvt" || format == "application/vnd.mapbox-vector-tile";
}

}  // namespace

std::vector<std::string> MbtilesQueries() {
    return {kLowestZoom, kHighestZoom, kFirstColumn, kLastColumn,
            kLowestRow,  kHighestRow,  kSomeTiles,   kOneTile};
}

std::optional<SqliteMaps> ReadMbtiles(CSqliteConnection& database, std::string& reason) {
    SqliteMaps result;
    result.rowsFromBottom = true;
    result.tileQueries = {kOneTile};
    if (!database.Prepare(result.tileQueries.front()).IsValid()) {
        reason = database.LastError();
        return std::nullopt;
    }
    const Metadata metadata = ReadMetadata(database);
    const std::optional<int> lowest =
        ZoomOf(ValueOf(metadata, "minzoom"), database.Prepare(kLowestZoom));
    const std::optional<int> highest =
        ZoomOf(ValueOf(metadata, "maxzoom"), database.Prepare(kHighestZoom));
    if (!lowest || !highest) {
        reason = "it has no tiles (" + database.LastError() + ")";
        return std::nullopt;
    }
    const int firstZoom = std::max(*lowest, 1);
    const int lastZoom = std::min(*highest, kDeepestAddressableLayer);
    if (firstZoom > lastZoom) {
        reason = "it has no tiles of a zoom level from 1 to 30";
        return std::nullopt;
    }
    ArchiveMap map;
    map.format = ValueOf(metadata, "format");
    const TileImageHeader header = HeaderOfTiles(database, firstZoom);
    if (NamesVectors(map.format) || NamesVectors(header.format)) {
        reason = "it has vector tiles";
        return std::nullopt;
    }
    if (!header.format.empty()) {
        map.format = header.format;  // the bytes decide
    }
    map.tileWidth = header.width > 0 ? header.width : kUsualTile;
    map.tileHeight = header.height > 0 ? header.height : kUsualTile;
    std::optional<TileRange> range = RangeOfBounds(ValueOf(metadata, "bounds"), firstZoom);
    if (!range) {
        range = RangeOfTiles(database, firstZoom);
    }
    map.grid = MercatorGrid(firstZoom, lastZoom, range.value_or(MercatorWorld(firstZoom)));
    map.units = kMercatorUnits;
    map.name = ValueOf(metadata, "name");
    map.description = TextOfHtml(ValueOf(metadata, "description"));
    map.attribution = TextOfHtml(ValueOf(metadata, "attribution"));
    result.maps.push_back(std::move(map));
    result.descriptionQueries = {"SELECT name, sql FROM sqlite_schema"};
    if (!metadata.empty()) {
        result.descriptionQueries.emplace_back(kMetadataQuery);
    }
    return result;
}

}  // namespace Terrascope::Plugins

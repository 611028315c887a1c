#include "plugins/db/MbtilesFormat.h"

#include <algorithm>
#include <functional>
#include <map>

#include "plugins/common/PlainText.h"
#include "plugins/db/TileTable.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kMetadataQuery[] =
    "SELECT name, value FROM metadata WHERE name IN ('name', 'format', 'bounds', 'minzoom', "
    "'maxzoom', 'attribution', 'description') LIMIT 100";
/// The first one in the index, or the one that was written first.
constexpr char kSomeTileQuery[] = "SELECT zoom_level, tile_column, tile_row FROM tiles LIMIT 1";
constexpr int kUsualTile = 256;                // pixels
constexpr std::uint64_t kTimeForZooms = 1000;  // milliseconds
constexpr std::uint64_t kTimeForRest = 2000;

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
        metadata.emplace(rows.ShortText(0), rows.ShortText(1));
    }
    return metadata;
}

/// A zoom level of the metadata; nothing for any other text.
std::optional<int> ZoomOf(const std::string& text) {
    const std::optional<std::int64_t> zoom = ParseWhole(text);
    return zoom && *zoom >= 0 && *zoom <= kDeepestAddressableLayer
               ? std::optional(static_cast<int>(*zoom))
               : std::nullopt;
}

/// The one of two limits that leaves less; the only one where the other is missing.
template <class TInner>
std::optional<int> Inner(std::optional<int> stated, std::optional<int> found) {
    return stated && (!found || TInner()(*stated, *found)) ? stated : found;
}

std::optional<TileRange> RangeOfBounds(const std::string& text, int zoom) {
    const auto bounds = ParseReals(text);
    return bounds && bounds->size() == 4
               ? MercatorTiles({(*bounds)[0], (*bounds)[1], (*bounds)[2], (*bounds)[3]}, zoom)
               : std::nullopt;
}

bool NamesVectors(std::string_view format) {
    return format == "pbf" || format == "mvt" || format == "application/vnd.mapbox-vector-tile";
}

}  // namespace

std::optional<SqliteMaps> ReadMbtiles(CSqliteConnection& database, std::string& reason) {
    SqliteMaps result;
    result.rowsFromBottom = true;
    CTileTable tiles(database, "tiles");
    result.tileQueries = {tiles.TileQuery()};
    if (!database.Prepare(result.tileQueries.front()).IsValid()) {
        reason = database.LastError();
        return std::nullopt;
    }
    const Metadata metadata = ReadMetadata(database);
    // Writers state levels that have no tiles, so both count. Without an index the tiles are no
    // help.
    database.AllowTime(kTimeForZooms);
    const std::optional<int> lowestFound = tiles.LowestZoom();
    const std::optional<int> highestFound = tiles.HighestZoom();
    auto lowest = Inner<std::greater<>>(ZoomOf(ValueOf(metadata, "minzoom")), lowestFound);
    auto highest = Inner<std::less<>>(ZoomOf(ValueOf(metadata, "maxzoom")), highestFound);
    if (lowest && highest && *lowest > *highest && lowestFound && highestFound) {
        lowest = lowestFound;  // what is stated is not true of these tiles
        highest = highestFound;
    }
    if (!lowest || !highest) {
        reason = "it has no tiles (" + database.LastError() + ")";
        return std::nullopt;
    }
    database.AllowTime(kTimeForRest);
    const int firstZoom = std::max(*lowest, 1);
    const int lastZoom = std::min(*highest, kDeepestAddressableLayer);
    if (firstZoom > lastZoom) {
        reason = "it has no tiles of a zoom level from 1 to 30";
        return std::nullopt;
    }
    ArchiveMap map;
    map.format = ValueOf(metadata, "format");
    const TileImageHeader header = tiles.SomeHeader(firstZoom);
    if (NamesVectors(map.format) || NamesVectors(header.format)) {
        reason = "it has vector tiles";
        return std::nullopt;
    }
    if (!header.format.empty()) {
        map.format = header.format;  // the bytes decide
    }
    map.tileWidth = header.width > 0 ? header.width : kUsualTile;
    map.tileHeight = header.height > 0 ? header.height : kUsualTile;
    result.descriptionQueries = {"SELECT name, sql FROM sqlite_schema"};
    std::optional<TileRange> range = RangeOfBounds(ValueOf(metadata, "bounds"), firstZoom);
    if (!range) {
        // The tiles make the map. In a view the look may take too long.
        if (database.Prepare(kSomeTileQuery).Next()) {
            result.descriptionQueries.emplace_back(kSomeTileQuery);
        }
        const std::int64_t last = MercatorWorldTiles(firstZoom).lastRow;
        range = tiles.UsedTiles(firstZoom, last + 1, last + 1);
        const std::int64_t bottom = range->firstRow;
        range->firstRow = last - range->lastRow;
        range->lastRow = last - bottom;
    }
    map.grid = MercatorGrid(firstZoom, lastZoom, *range);
    map.isMercator = true;
    map.name = ValueOf(metadata, "name");
    map.description = TextOfHtml(ValueOf(metadata, "description"));
    map.attribution = TextOfHtml(ValueOf(metadata, "attribution"));
    result.maps.push_back(std::move(map));
    if (database.Prepare(kMetadataQuery).IsValid()) {
        result.descriptionQueries.emplace_back(kMetadataQuery);
    }
    return result;
}

}  // namespace Terrascope::Plugins

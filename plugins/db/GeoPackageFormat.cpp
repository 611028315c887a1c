#include "plugins/db/GeoPackageFormat.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "plugins/common/PlainText.h"
#include "plugins/db/TileTable.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kTablesQuery[] =
    "SELECT s.table_name, c.identifier, c.description, s.min_x, s.min_y, s.max_x, s.max_y, "
    "c.min_x, c.min_y, c.max_x, c.max_y, coalesce(r.organization, 'EPSG'), "
    "coalesce(r.organization_coordsys_id, s.srs_id) FROM gpkg_tile_matrix_set s "
    "LEFT JOIN gpkg_contents c ON c.table_name = s.table_name "
    "LEFT JOIN gpkg_spatial_ref_sys r ON r.srs_id = s.srs_id "
    "WHERE coalesce(c.data_type, 'tiles') = 'tiles' ORDER BY s.table_name LIMIT 1000";
constexpr char kMatricesQuery[] =
    "SELECT zoom_level, matrix_width, matrix_height, tile_width, tile_height, pixel_x_size, "
    "pixel_y_size FROM gpkg_tile_matrix WHERE table_name = ?1 AND zoom_level BETWEEN ?2 AND ?3 "
    "ORDER BY zoom_level";

constexpr double kHalfMercatorWorld = 20037508.342789244;  // metres
constexpr int kLargestTileSide = 8192;                     // pixels
constexpr double kFarthest = 1e9;                          // map units
constexpr double kSmallestSpan = 1e-9;                     // map units
constexpr std::int64_t kMostTiles = std::int64_t{1} << kDeepestAddressableLayer;

struct Matrix {
    std::int64_t zoom = 0;
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    std::int64_t tileWidth = 0;
    std::int64_t tileHeight = 0;
    double pixelWidth = 0.0;
    double pixelHeight = 0.0;

    bool IsUsable() const {
        return columns >= 1 && columns <= kMostTiles && rows >= 1 && rows <= kMostTiles &&
               tileWidth >= 1 && tileWidth <= kLargestTileSide && tileHeight >= 1 &&
               tileHeight <= kLargestTileSide && pixelWidth > 0 && std::isfinite(pixelWidth) &&
               pixelHeight > 0 && std::isfinite(pixelHeight);
    }
};

struct Table {
    std::string name;
    std::string identifier;
    std::string description;
    MapExtent matrixSet;
    MapExtent contents;
    std::string organization;
    std::int64_t system = 0;
};

MapExtent ExtentAt(const CSqliteStatement& row, int column) {
    return {row.Real(column), row.Real(column + 1), row.Real(column + 2), row.Real(column + 3)};
}

std::vector<Table> ReadTables(CSqliteConnection& database, std::string& reason) {
    std::vector<Table> tables;
    std::size_t bytes = 0;
    CSqliteStatement rows = database.Prepare(kTablesQuery);
    while (rows.Next()) {
        Table& table = tables.emplace_back();
        table.name = rows.ShortText(0);
        table.identifier = rows.ShortText(1);
        table.description = rows.ShortText(2);
        bytes += table.name.size() + table.identifier.size() + table.description.size();
        if (bytes > kMostDescription) {
            reason = kTooMuchDescription;
            return {};
        }
        table.matrixSet = ExtentAt(rows, 3);
        table.contents = ExtentAt(rows, 7);
        table.organization = rows.ShortText(11);
        bytes += table.organization.size();
        table.system = rows.Whole(12);
    }
    if (tables.empty()) {
        reason = rows.HasFailed() ? database.LastError() : "it has no tables of tiles";
    }
    return tables;
}

/// Whether `below` is the same grid as `above` with pixels of half the size: the difference does
/// not come to a pixel over the whole matrix.
bool Halves(double above, double below, std::int64_t pixels) {
    return std::abs(below * 2 - above) / above * static_cast<double>(pixels) < 1.0;
}

/// Why the grid does not go on with a matrix; empty when it does.
std::string BreakAt(const Matrix& above, const Matrix& below) {
    if (below.zoom != above.zoom + 1) {
        return "no zoom level " + std::to_string(above.zoom + 1);
    }
    if (!below.IsUsable()) {
        return "an unusable matrix";
    }
    if (below.tileWidth != above.tileWidth || below.tileHeight != above.tileHeight) {
        return "tiles of another size";
    }
    if (below.columns > 2 * above.columns || below.rows > 2 * above.rows) {
        return "more tiles than that above can be divided into";
    }
    if (!Halves(above.pixelWidth, below.pixelWidth, below.columns * below.tileWidth) ||
        !Halves(above.pixelHeight, below.pixelHeight, below.rows * below.tileHeight)) {
        return "pixels that are not half as large as those of the level above";
    }
    return {};
}

/// The matrices with tiles, from the lowest zoom level on, as far as they halve.
std::vector<Matrix> ReadMatrices(CSqliteConnection& database, const std::string& table, int lowest,
                                 int highest, std::string& reason) {
    std::vector<Matrix> matrices;
    CSqliteStatement rows = database.Prepare(kMatricesQuery);
    rows.Bind(1, table).Bind(2, std::int64_t{lowest}).Bind(3, std::int64_t{highest});
    while (rows.Next()) {
        const Matrix matrix{rows.Whole(0), rows.Whole(1), rows.Whole(2), rows.Whole(3),
                            rows.Whole(4), rows.Real(5),  rows.Real(6)};
        if (matrices.empty()) {
            if (matrix.IsUsable()) {
                matrices.push_back(matrix);
                continue;
            }
            reason = "an unusable matrix";
        } else {
            reason = BreakAt(matrices.back(), matrix);
        }
        if (!reason.empty()) {
            reason.insert(0, "zoom level " + std::to_string(matrix.zoom) + " has ");
            break;
        }
        matrices.push_back(matrix);
    }
    if (matrices.empty() && reason.empty()) {
        reason = "it has no matrix for its tiles";
    }
    return matrices;
}

bool IsRectangle(const MapExtent& extent) {
    return std::isfinite(extent.west) && std::isfinite(extent.north) &&
           std::isfinite(extent.east - extent.west) && std::isfinite(extent.north - extent.south) &&
           extent.west < extent.east && extent.south < extent.north;
}

/// Whether a display can reckon with it. No comparison holds for what is no number.
bool IsPlausible(const MapExtent& extent) {
    return extent.west >= -kFarthest && extent.east <= kFarthest && extent.south >= -kFarthest &&
           extent.north <= kFarthest && extent.east - extent.west >= kSmallestSpan &&
           extent.north - extent.south >= kSmallestSpan;
}

/// The layer of the first matrix: its zoom level, or the next one with keys for so many tiles.
int LayerOf(const Matrix& matrix) {
    int layer = static_cast<int>(matrix.zoom);
    while (std::max(matrix.columns, matrix.rows) > std::int64_t{1} << layer) {
        ++layer;
    }
    return layer;
}

/// How much of a spatial reference system's unit makes one map unit, and their name for the remark.
struct Units {
    double perMapUnit = 1.0;
    bool isMercator = false;
    std::string text;
};
Units UnitsOf(const Table& table) {
    // The same projection under its official number and those that were in use before.
    constexpr std::array<std::int64_t, 5> kWebMercator{3857, 900913, 3785, 102100, 102113};
    constexpr std::int64_t kDegrees = 4326;
    if (std::find(kWebMercator.begin(), kWebMercator.end(), table.system) != kWebMercator.end()) {
        return {kHalfMercatorWorld / 180.0, true, {}};
    }
    if (table.system == kDegrees) {
        return {};
    }
    return {
        1.0, false,
        "Map units are those of " + table.organization + ":" + std::to_string(table.system) + "."};
}

/// The map's part of the grid, from the matrices on, which are not empty.
ArchiveGrid GridOf(const Table& table, std::vector<Matrix>& matrices, CTileTable& tiles,
                   double perMapUnit) {
    int layer = LayerOf(matrices.front());
    int zoomOfLayer = static_cast<int>(matrices.front().zoom) - layer;
    if (layer == 0 && matrices.size() > 1) {
        matrices.erase(matrices.begin());  // layer 0 has no key
        layer = 1;
    } else if (layer == 0) {
        layer = 1;
        zoomOfLayer = -1;
    }
    const Matrix& first = matrices.front();
    const double width = first.pixelWidth * static_cast<double>(first.tileWidth);
    const double height = first.pixelHeight * static_cast<double>(first.tileHeight);
    const MapExtent& set = table.matrixSet;
    ArchiveGrid grid;
    grid.firstLayer = layer;
    grid.lastLayer =
        std::min(layer + static_cast<int>(matrices.size()) - 1, kDeepestAddressableLayer);
    grid.zoomOfLayer = zoomOfLayer;
    grid.first = IsRectangle(table.contents)
                     ? CoverTiles({(table.contents.west - set.west) / width,
                                   (set.north - table.contents.south) / height,
                                   (table.contents.east - set.west) / width,
                                   (set.north - table.contents.north) / height},
                                  first.columns, first.rows)
                     : tiles.UsedTiles(static_cast<int>(first.zoom), first.columns, first.rows);
    const auto edge = [&](double origin, double tile, std::int64_t count) {
        const double at = origin + tile * static_cast<double>(count);
        // What rounding leaves of a grid's middle line.
        return std::abs(at) < std::abs(tile) * 1e-9 ? 0.0 : at / perMapUnit;
    };
    grid.extent.west = edge(set.west, width, grid.first.firstColumn);
    grid.extent.east = edge(set.west, width, grid.first.lastColumn + 1);
    grid.extent.north = edge(set.north, -height, grid.first.firstRow);
    grid.extent.south = edge(set.north, -height, grid.first.lastRow + 1);
    return grid;
}

/// Adds the map of one table; nothing is added, or less of it, for the reason given.
void AddMap(CSqliteConnection& database, const Table& table, SqliteMaps& result,
            std::string& reason) {
    CTileTable tiles(database, table.name);
    const std::optional<int> lowest = tiles.LowestZoom();
    const std::optional<int> highest = tiles.HighestZoom();
    if (!lowest || !highest) {
        reason = "it has no tiles (" + database.LastError() + ")";
        return;
    }
    if (!IsRectangle(table.matrixSet)) {
        reason = "the extent of its matrix set is none";
        return;
    }
    const int firstZoom = std::max(*lowest, 0);
    const int lastZoom = std::min(*highest, kDeepestAddressableLayer);
    std::vector<Matrix> matrices = ReadMatrices(database, table.name, firstZoom, lastZoom, reason);
    if (matrices.empty()) {
        return;
    }
    const Units units = UnitsOf(table);
    ArchiveMap map;
    map.grid = GridOf(table, matrices, tiles, units.perMapUnit);
    if (!IsPlausible(map.grid.extent)) {
        reason = "its extent is larger than a map can have, or nothing";
        return;
    }
    map.name = table.identifier.empty() ? table.name : table.identifier;
    map.description = TextOfHtml(table.description);
    map.isMercator = units.isMercator;
    if (!units.text.empty()) {
        map.description.append(map.description.empty() ? "" : " ").append(units.text);
    }
    map.format = tiles.SomeHeader(static_cast<int>(matrices.front().zoom)).format;
    map.tileWidth = static_cast<int>(matrices.front().tileWidth);
    map.tileHeight = static_cast<int>(matrices.front().tileHeight);
    result.maps.push_back(std::move(map));
    result.tileQueries.push_back(tiles.TileQuery());
}

}  // namespace

bool IsGeoPackage(CSqliteConnection& database) {
    return database.Prepare("SELECT 1 FROM gpkg_tile_matrix_set").IsValid();
}

std::optional<SqliteMaps> ReadGeoPackage(CSqliteConnection& database, std::string& reason) {
    SqliteMaps result;
    for (const Table& table : ReadTables(database, reason)) {
        const std::size_t before = result.maps.size();
        std::string problem;
        AddMap(database, table, result, problem);
        if (!problem.empty()) {
            result.notes.push_back(
                "table '" + table.name + "': " + problem +
                (result.maps.size() > before ? "; the map ends above it" : "; left out"));
        }
    }
    if (result.maps.empty()) {
        for (const std::string& note : result.notes) {
            reason.append(reason.empty() ? "" : "; ").append(note);
        }
        return std::nullopt;
    }
    result.descriptionQueries = {
        "SELECT name, sql FROM sqlite_schema", kTablesQuery,
        "SELECT table_name, zoom_level, matrix_width, matrix_height, tile_width, tile_height, "
        "pixel_x_size, pixel_y_size FROM gpkg_tile_matrix"};
    return result;
}

}  // namespace Terrascope::Plugins

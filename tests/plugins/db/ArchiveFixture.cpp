#include "tests/plugins/db/ArchiveFixture.h"

namespace TerrascopeTest {

std::string MbtilesSql(int lowest, int highest, int first, int last, const std::string& metadata) {
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

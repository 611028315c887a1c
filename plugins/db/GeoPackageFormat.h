#pragma once

#include <optional>
#include <string>

#include "plugins/db/SqliteArchive.h"

namespace Terrascope::Plugins {

/// Whether a database has the tables by which a GeoPackage describes its tiles.
bool IsGeoPackage(CSqliteConnection& database);

/// Reads what a GeoPackage's tables of tiles are about: each is a map, in the units of its spatial
/// reference system, Web Mercator and plain degrees aside. A zoom level whose pixels are not half
/// as large as those of the level above ends the map. Nothing, with the reason, when there is no
/// map. Source: the OGC GeoPackage Encoding Standard, "Tiles".
std::optional<SqliteMaps> ReadGeoPackage(CSqliteConnection& database, std::string& reason);

}  // namespace Terrascope::Plugins

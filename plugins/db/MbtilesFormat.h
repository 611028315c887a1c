#pragma once

#include <optional>
#include <string>

#include "plugins/db/SqliteArchive.h"

namespace Terrascope::Plugins {

/// Reads what an MBTiles file of raster tiles is about. All of its metadata may be missing: zoom
/// levels and the area are then looked for by way of the index of its tiles, and the tiles' size in
/// one of their headers. Nothing, with the reason, when it is no such file.
/// Source: MBTiles 1.3.
std::optional<SqliteMaps> ReadMbtiles(CSqliteConnection& database, std::string& reason);

}  // namespace Terrascope::Plugins

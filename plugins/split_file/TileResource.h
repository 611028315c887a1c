#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>

#include "plugins/split_file/MapDescription.h"

namespace Terrascope::Plugins {

/// Reads a tilemapresource.xml, which GDAL's tiler and others write beside their tiles: the Tile
/// Map Service 1.0.0 of OSGeo, with the profiles "mercator", "geodetic" and "raster"
/// (or "global-mercator", "global-geodetic", "local"). The map is the part of the world's pyramid
/// that holds the bounding box, and has the zoom levels that follow each other from the first;
/// level 0 of a square has no key and is left out. A geodetic pyramid has two tiles in level 0, and
/// layer n is level n - 1; or it has one of 360 degrees, which shows in the names of the column
/// folders in `mapFolder` alone, and layer n is level n. A value that the map can do without is
/// passed over when it is wrong.
///
/// `folderName` is the map's name if the file has no title. `folder` is left empty.
///
/// Requires: COM is not needed. Threads: any.
MapReading ReadTileResource(std::span<const std::uint8_t> file, const std::wstring& mapFolder,
                            const CString& folderName, const SYSTEMTIME& updateTime);

}  // namespace Terrascope::Plugins

#pragma once

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>

#include "plugins/split_file/MapDescription.h"

namespace Terrascope::Plugins {

/// Reads a tilemapresource.xml, which GDAL's tiler and others write beside their tiles: the Tile
/// Map Service specification 1.0.0 of OSGeo, with the profiles "mercator", "geodetic" and "raster"
/// (or "global-mercator", "global-geodetic", "local"). The map is the part of the world's pyramid
/// that holds the bounding box, and has the zoom levels that follow each other from the first;
/// level 0 of a square has no key and is left out. In geodetic pyramids layer n is level n - 1.
/// `folderName` is the map's name if the file has no title. `folder` is left empty.
///
/// Requires: COM is not needed. Threads: any.
MapReading ReadTileResource(std::span<const std::uint8_t> file, const CString& folderName,
                            const SYSTEMTIME& updateTime);

}  // namespace Terrascope::Plugins

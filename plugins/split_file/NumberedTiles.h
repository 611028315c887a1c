#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plugins/split_file/MapDescription.h"

namespace Terrascope::Plugins {

/// The names of all folders in a folder as plain numbers below `end`, ordered; empty when one is
/// none, but for that of kept tiles.
std::vector<std::uint32_t> NumberedFolders(const std::wstring& folder, std::uint32_t end);

/// A folder whose tiles are zoom\column\row.ending and which has no description, as tilers leave
/// it: every folder in it is a zoom level from 0 to 30, those of the first level that can be used
/// (1 or deeper) are columns, and the files there are rows, all with the same ending of an image.
/// It is taken for the square world in Mercator's projection with rows from the north, and the map
/// for the part of it that the first level's files cover. Null when the folder is anything else.
///
/// Reads the names in the first level's folders and the head of one image.
std::unique_ptr<MapDescription> ReadNumberedTiles(const std::wstring& folder,
                                                  const CString& folderName,
                                                  const SYSTEMTIME& updateTime);

}  // namespace Terrascope::Plugins

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plugins/split_file/MapDescription.h"

namespace Terrascope::Plugins {

/// The maps of a library, ordered by their folders' names. A snapshot: constant, and shared by
/// whoever works with it.
using MapLibrary = std::vector<std::shared_ptr<const MapDescription>>;

/// Reads the map.ini of every sub-folder of `folder` (absolute). A sub-folder without one is no
/// map; a map whose description is unusable, or whose name another one has, is left out with a
/// line in the log. Null when the folder cannot be read.
std::shared_ptr<const MapLibrary> ScanMapLibrary(const std::wstring& folder);

/// The named map, ignoring case, or null.
std::shared_ptr<const MapDescription> FindMap(const MapLibrary& library, const CString& name);

}  // namespace Terrascope::Plugins

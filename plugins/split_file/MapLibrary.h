#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugins/common/FolderFiles.h"
#include "plugins/split_file/MapDescription.h"

namespace Terrascope::Plugins {

/// The maps of a library, ordered by their folders' names. A snapshot: constant, and shared by
/// whoever works with it.
using MapLibrary = std::vector<std::shared_ptr<const MapDescription>>;

/// A sub-folder of a library when its description was read.
struct MapFolder {
    FolderFacts folder;
    std::wstring description;                   ///< the name of the file that describes the map
    std::optional<FileFacts> file;              ///< of it, before it was read; none: not described
    bool settled = false;                       ///< any later change of it shows in `file`
    std::shared_ptr<const MapDescription> map;  ///< null when there is none that can be used
};

/// A library with what it was read from; constant once it is made.
struct LibraryReading {
    std::vector<MapFolder> folders;
    std::shared_ptr<const MapLibrary> library;
};

/// Reads the map of every sub-folder of `folder` (absolute): the one that its map.ini or
/// tilemapresource.xml describes, or numbered tiles. Where the folder itself is one of the latter
/// two, it is the only map. A map whose description is unusable, or whose name another one has, is
/// left out with a line in the log. Null when the folder cannot be read.
///
/// What has not changed since `former` (null: none) is taken from there and not opened. A change
/// of a map.ini shows in its size, its times, or those of its folder; descriptions that were
/// unusable, or written within three seconds before they were read, are read again in any case. A
/// change that leaves all of these as they were is not noticed.
std::shared_ptr<const LibraryReading> ReadMapLibrary(const std::wstring& folder,
                                                     const LibraryReading* former);

/// The named map, ignoring case, or null.
std::shared_ptr<const MapDescription> FindMap(const MapLibrary& library, const CString& name);

}  // namespace Terrascope::Plugins

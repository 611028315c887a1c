#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/sqlite/Sqlite.h"
#include "plugins/db/ArchiveGrid.h"

namespace Terrascope::Plugins {

/// The largest tile that is read, in bytes.
inline constexpr std::size_t kLargestTile = kLargestValue;

/// A map as its archive describes it. All texts are UTF-8, of any length and content.
struct ArchiveMap {
    std::string name;         ///< empty: the file's name is to be used
    std::string description;  ///< plain text
    std::string attribution;  ///< plain text
    bool isMercator = false;  ///< in the units of MercatorGrid
    std::string format;       ///< "png", ...
    FileTime lastWrite = 0;
    int tileWidth = 0;  ///< pixels
    int tileHeight = 0;
    ArchiveGrid grid;
};

/// A file with the tiles of one map or more.
///
/// Threads: any; none waits for another.
/// Errors:  nothing throws but for want of memory. Once the file has been replaced, cut short or
///          deleted, there are no tiles any more.
class ITileArchive {
public:
    virtual ~ITileArchive() = default;

    /// Constant, and at least one.
    virtual const std::vector<ArchiveMap>& Maps() const = 0;

    /// The encoded image of one tile of the map with that index. False, and `tile` holds anything,
    /// when there is none, it is empty, or it could not be read.
    virtual bool ReadTile(std::size_t map, const GridTile& place,
                          std::vector<std::uint8_t>& tile) = 0;
};

}  // namespace Terrascope::Plugins

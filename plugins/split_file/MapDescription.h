#pragma once

#include <afx.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/common/TilePathTemplate.h"
#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope {

class CCustomIniFile;

namespace Plugins {

constexpr int kLongestMapName = 255;  // bytes

/// One map of the library, as a file in its folder describes it; constant once it is made, so that
/// any number of threads may read it.
struct MapDescription {
    std::wstring folder;  ///< absolute; nothing outside it is opened for this map
    tagTILE_MAP_INFO info;
    std::vector<tagTILE_MAP_LAYER_INFO> layers;  ///< numbered consecutively from info.nFirstLayer
    TilePathTemplate tilePath;
    std::optional<TileGrid> grid;  ///< tilePath counts in its pyramid; none: in the map itself

    /// The layer of an absolute number, or null.
    const tagTILE_MAP_LAYER_INFO* FindLayer(int layerNumber) const;

    /// The name of a tile's file below `folder`, as text of any content; nothing when the map has
    /// no such tile.
    std::optional<std::string> TileFile(const TileAddress& address, std::string_view key) const;
};

/// What is wrong with a description.
struct MapProblem {
    CString section;
    CString key;
    CString reason;
};

/// The result of reading a description: without a map, `problems` names the one that makes it
/// unusable; with a map, those that were passed over.
struct MapReading {
    std::unique_ptr<MapDescription> map;
    std::vector<MapProblem> problems;
};

/// Reads sections MAP and LAYER_n. `folderName` is the map's name if none is given, `updateTime`
/// its time. A layer that cannot be used, and those behind it, are passed over, unless it is the
/// first. `folder` is left empty. The format is described in the plug-in's README.
MapReading ReadMapDescription(CCustomIniFile& file, const CString& folderName,
                              const SYSTEMTIME& updateTime);

}  // namespace Plugins
}  // namespace Terrascope

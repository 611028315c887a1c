#pragma once

#include <afx.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "plugins/db/ITileArchive.h"
#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope::Plugins {

/// A map of the library: what the library of maps is asked about it, and where its tiles are.
struct LibraryMap {
    std::shared_ptr<ITileArchive> archive;
    std::size_t index = 0;  ///< among the archive's maps
    tagTILE_MAP_INFO info;
    ArchiveGrid grid;

    bool HasLayer(int layer) const { return layer >= grid.firstLayer && layer <= grid.lastLayer; }
    /// Requires: HasLayer.
    tagTILE_MAP_LAYER_INFO Layer(int layer) const;
};

/// The maps of a data path, in the order of the files' names. Constant once it is made, so that any
/// number of threads may read it; the archives stay open as long as it lives.
class CArchiveLibrary {
public:
    /// Opens the archive `path` (absolute), or every one that lies directly in the folder `path`. A
    /// file is what its first bytes announce. One that cannot be used is named in the log; where
    /// two maps have one name, the later one's is followed by its file's name. Null when there is
    /// neither a file nor a folder.
    static std::shared_ptr<const CArchiveLibrary> Open(const std::wstring& path);

    const std::vector<LibraryMap>& Maps() const { return m_maps; }
    /// Ignoring case; null when there is none. Lives as long as the library.
    const LibraryMap* Find(const CString& name) const;

private:
    void Add(const std::wstring& path, const std::wstring& fileName);

    std::vector<LibraryMap> m_maps;
    std::unordered_map<std::string, std::size_t> m_places;  ///< by name in one case
};

}  // namespace Terrascope::Plugins

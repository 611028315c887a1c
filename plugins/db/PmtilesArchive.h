#pragma once

#include <memory>

#include "plugins/common/ByteSource.h"
#include "plugins/db/ITileArchive.h"
#include "plugins/db/PmtilesDirectoryCache.h"
#include "plugins/db/PmtilesHeader.h"

namespace Terrascope::Plugins {

/// A PMTiles archive: one map. It is read in pieces and never as a whole, so that it may lie behind
/// a server that delivers ranges.
class CPmtilesArchive : public ITileArchive {
public:
    /// Null, with the reason, when it is no archive of raster tiles that can be read.
    static std::unique_ptr<ITileArchive> Open(std::unique_ptr<IByteSource> source,
                                              FileTime lastWrite, std::string& reason);

    const std::vector<ArchiveMap>& Maps() const override { return m_maps; }
    bool ReadTile(std::size_t map, const GridTile& place, std::vector<std::uint8_t>& tile) override;

private:
    CPmtilesArchive(std::unique_ptr<IByteSource> source, const PmtilesHeader& header);

    ArchiveMap Describe();
    void DescribeByMetadata(ArchiveMap& map);
    std::shared_ptr<const PmtilesDirectory> ReadDirectory(const PmtilesSection& section,
                                                          std::uint64_t offset,
                                                          std::uint64_t length);
    std::shared_ptr<const PmtilesDirectory> Leaf(const PmtilesEntry& entry);
    std::optional<PmtilesEntry> FirstTile();
    bool ReadBytes(const PmtilesEntry& entry, std::vector<std::uint8_t>& tile);

    const std::unique_ptr<IByteSource> m_source;
    const PmtilesHeader m_header;
    std::shared_ptr<const PmtilesDirectory> m_root;  ///< constant after Open, as is m_maps
    std::vector<ArchiveMap> m_maps;
    CPmtilesDirectoryCache m_leaves;
};

}  // namespace Terrascope::Plugins

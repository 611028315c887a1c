#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "plugins/db/ArchiveGrid.h"

namespace Terrascope::Plugins {

/// The number of a tile in a PMTiles archive: along the Hilbert curve of its zoom level, behind all
/// tiles of the levels above. Requires: a tile of zoom 0 to 30.
std::uint64_t PmtilesNumber(const GridTile& tile);

/// A line of a directory.
struct PmtilesEntry {
    std::uint64_t number = 0;  ///< of the first tile
    std::uint64_t offset = 0;  ///< of the bytes, in the section of tiles or of directories
    std::uint32_t length = 0;  ///< bytes, at least 1
    std::uint32_t run = 0;     ///< so many tiles have the same bytes; 0: a directory has them
};

/// Ordered by number.
using PmtilesDirectory = std::vector<PmtilesEntry>;

/// Reads a directory, unpacked. Nothing when it is cut off or contradicts itself.
/// Source: PMTiles 3.
std::optional<PmtilesDirectory> ParsePmtilesDirectory(std::span<const std::uint8_t> bytes);

/// The entry for a tile, or null.
const PmtilesEntry* FindPmtilesEntry(const PmtilesDirectory& directory, std::uint64_t number);

}  // namespace Terrascope::Plugins

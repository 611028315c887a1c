#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "plugins/db/ArchiveGrid.h"

namespace Terrascope::Plugins {

/// A part of the archive, in bytes from its start.
struct PmtilesSection {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;

    /// Whether `count` bytes at `at`, counted from the section's start, lie in it.
    bool Holds(std::uint64_t at, std::uint64_t count) const {
        return at <= length && count <= length - at;
    }
};

/// The start of a PMTiles archive, checked.
struct PmtilesHeader {
    static constexpr std::size_t kBytes = 127;

    PmtilesSection root;
    PmtilesSection metadata;
    PmtilesSection leaves;
    PmtilesSection tiles;
    bool directoriesArePacked = false;  ///< with gzip; the metadata too
    bool tilesArePacked = false;
    std::string format;  ///< "png", "jpg", "webp"; empty: not stated
    int minZoom = 0;
    int maxZoom = 0;
    MapExtent bounds;  ///< degrees
};

/// Reads the header of an archive that is `size` bytes long. Nothing, with the reason, when it is
/// no archive of raster tiles that can be read. Source: PMTiles 3.
std::optional<PmtilesHeader> ParsePmtilesHeader(
    const std::array<std::uint8_t, PmtilesHeader::kBytes>& bytes, std::uint64_t size,
    std::string& reason);

}  // namespace Terrascope::Plugins

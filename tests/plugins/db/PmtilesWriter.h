#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TerrascopeTest {

/// A line of a directory, as it is stored.
struct PmtilesLine {
    std::uint64_t number;
    std::uint64_t offset;
    std::uint64_t length;
    std::uint64_t run;
};

std::string PmtilesVarint(std::uint64_t value);
std::string PmtilesDirectoryBytes(const std::vector<PmtilesLine>& lines);
std::string Gzipped(const std::string& content);

/// The parts of a PMTiles file, right or wrong; Bytes puts them together.
struct PmtilesParts {
    std::string root;
    std::string metadata = "{}";
    std::string leaves;
    std::string tiles;
    std::uint8_t directoryCode = 1;
    std::uint8_t tileCode = 1;
    std::uint8_t typeCode = 2;
    std::uint8_t minZoom = 0;
    std::uint8_t maxZoom = 3;
    std::int32_t bounds[4] = {0, 0, 0, 0};  ///< west, south, east, north; degrees x 10^7

    std::string Bytes() const;
};

/// Zoom levels 0 to 3, all tiles of which hold their number: those of zoom 3 by way of leaves, and
/// the first four of them are one.
PmtilesParts PmtilesWorld();

}  // namespace TerrascopeTest

#include "plugins/db/PmtilesHeader.h"

#include "plugins/common/TileAddress.h"

namespace Terrascope::Plugins {
namespace {

using Bytes = std::array<std::uint8_t, PmtilesHeader::kBytes>;

std::uint64_t Little(const Bytes& bytes, std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = count; i-- > 0;) {
        value = value << 8 | bytes.at(at + i);
    }
    return value;
}

PmtilesSection SectionAt(const Bytes& bytes, std::size_t at) {
    return {Little(bytes, at, 8), Little(bytes, at + 8, 8)};
}

double DegreesAt(const Bytes& bytes, std::size_t at) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(Little(bytes, at, 4))) / 1e7;
}

/// Whether something was packed with gzip, by its code; the reason when it was in another way.
bool IsPacked(std::uint8_t code, const char* what, std::string& reason) {
    switch (code) {
        case 0:  // not stated; what follows shows whether it can be read
        case 1:
            return false;
        case 2:
            return true;
        case 3:
            reason = std::string(what) + " are compressed with brotli, which is not supported";
            return false;
        case 4:
            reason = std::string(what) + " are compressed with zstd, which is not supported";
            return false;
        default:
            reason = std::string(what) + " are compressed in an unknown way";
            return false;
    }
}

std::string FormatOf(std::uint8_t code, std::string& reason) {
    switch (code) {
        case 0:
            return {};
        case 2:
            return "png";
        case 3:
            return "jpg";
        case 4:
            return "webp";
        case 5:
            reason = "it has AVIF tiles, which are not supported";
            return {};
        case 1:
        case 6:
            reason = "it has vector tiles";
            return {};
        default:
            reason = "it has tiles of an unknown type";
            return {};
    }
}

}  // namespace

std::optional<PmtilesHeader> ParsePmtilesHeader(const Bytes& bytes, std::uint64_t size,
                                                std::string& reason) {
    if (bytes[7] != 3) {
        reason = "it is not of version 3 of PMTiles";
        return std::nullopt;
    }
    PmtilesHeader header;
    header.root = SectionAt(bytes, 8);
    header.metadata = SectionAt(bytes, 24);
    header.leaves = SectionAt(bytes, 40);
    header.tiles = SectionAt(bytes, 56);
    const PmtilesSection file{0, size};
    for (const PmtilesSection& section : {header.root, header.leaves, header.tiles}) {
        if (!file.Holds(section.offset, section.length)) {
            reason = "it is shorter than its header states";
            return std::nullopt;
        }
    }
    if (!file.Holds(header.metadata.offset, header.metadata.length)) {
        header.metadata = {};  // the map can do without
    }
    reason.clear();
    header.directoriesArePacked = IsPacked(bytes[97], "its directories", reason);
    header.tilesArePacked = IsPacked(bytes[98], "its tiles", reason);
    header.format = FormatOf(bytes[99], reason);
    header.minZoom = bytes[100];
    header.maxZoom = bytes[101];
    if (reason.empty() && (header.minZoom > header.maxZoom || header.maxZoom < 1 ||
                           header.minZoom > kDeepestAddressableLayer)) {
        reason = "it has no tiles of a zoom level from 1 to 30";
    }
    header.bounds = {DegreesAt(bytes, 102), DegreesAt(bytes, 106), DegreesAt(bytes, 110),
                     DegreesAt(bytes, 114)};
    return reason.empty() ? std::optional(header) : std::nullopt;
}

}  // namespace Terrascope::Plugins

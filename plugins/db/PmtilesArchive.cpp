#include "plugins/db/PmtilesArchive.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "plugins/common/PlainText.h"
#include "plugins/common/TileImageHeader.h"
#include "plugins/db/Inflate.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMostDirectories = std::size_t{16} * 1024 * 1024;  // bytes, the root's among
constexpr std::uint64_t kLargestMetadata = 4 * std::uint64_t{1024} * 1024;
/// From the root to the tile. Writers make two levels; more are allowed, a circle is not.
constexpr int kDeepestDirectory = 4;
constexpr int kUsualTile = 256;  // pixels

}  // namespace

CPmtilesArchive::CPmtilesArchive(std::unique_ptr<IByteSource> source, const PmtilesHeader& header)
    : m_source(std::move(source)),
      m_header(header),
      m_leaves(kMostDirectories - 2 * kLargestDirectory) {}

std::unique_ptr<ITileArchive> CPmtilesArchive::Open(std::unique_ptr<IByteSource> source,
                                                    FileTime lastWrite, std::string& reason) {
    std::array<std::uint8_t, PmtilesHeader::kBytes> start{};
    if (!source->Read(0, start)) {
        reason = "it is shorter than its header";
        return nullptr;
    }
    const auto header = ParsePmtilesHeader(start, source->Size(), reason);
    if (!header) {
        return nullptr;
    }
    std::unique_ptr<CPmtilesArchive> archive(new CPmtilesArchive(std::move(source), *header));
    archive->m_root = archive->ReadDirectory(header->root, 0, header->root.length);
    if (archive->m_root == nullptr) {
        reason = "its root directory cannot be read";
        return nullptr;
    }
    ArchiveMap map = archive->Describe();
    if (map.format == "pbf") {
        reason = "it has vector tiles";
        return nullptr;
    }
    map.lastWrite = lastWrite;
    archive->m_maps.push_back(std::move(map));
    return archive;
}

std::shared_ptr<const PmtilesDirectory> CPmtilesArchive::ReadDirectory(
    const PmtilesSection& section, std::uint64_t offset, std::uint64_t length) {
    if (!section.Holds(offset, length) || length > kLargestDirectory) {
        return nullptr;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
    if (!m_source->Read(section.offset + offset, bytes)) {
        return nullptr;
    }
    if (m_header.directoriesArePacked) {
        auto unpacked = Gunzip(bytes, kLargestDirectory);
        if (!unpacked) {
            return nullptr;
        }
        bytes = std::move(*unpacked);
    }
    auto directory = ParsePmtilesDirectory(bytes);
    return directory && CPmtilesDirectoryCache::SizeOf(*directory) <= kLargestDirectory
               ? std::make_shared<const PmtilesDirectory>(std::move(*directory))
               : nullptr;
}

std::shared_ptr<const PmtilesDirectory> CPmtilesArchive::Leaf(const PmtilesEntry& entry) {
    std::shared_ptr<const PmtilesDirectory> leaf = m_leaves.Find(entry.offset);
    if (leaf == nullptr) {
        leaf = ReadDirectory(m_header.leaves, entry.offset, entry.length);
        if (leaf != nullptr) {
            m_leaves.Keep(entry.offset, leaf);
        }
    }
    return leaf;
}

std::optional<PmtilesEntry> CPmtilesArchive::FirstTile() {
    std::shared_ptr<const PmtilesDirectory> directory = m_root;
    for (int level = 0; level < kDeepestDirectory; ++level) {
        if (directory == nullptr || directory->empty()) {
            return std::nullopt;
        }
        const PmtilesEntry entry = directory->front();
        if (entry.run > 0) {
            return entry;
        }
        directory = Leaf(entry);
    }
    return std::nullopt;
}

ArchiveMap CPmtilesArchive::Describe() {
    ArchiveMap map;
    const int firstZoom = std::max(m_header.minZoom, 1);
    map.grid = MercatorGrid(
        firstZoom, std::min(m_header.maxZoom, kDeepestAddressableLayer),
        MercatorTiles(m_header.bounds, firstZoom).value_or(MercatorWorldTiles(firstZoom)));
    map.isMercator = true;
    TileImageHeader header;
    std::vector<std::uint8_t> tile;
    if (const auto first = FirstTile(); first && ReadBytes(*first, tile)) {
        header = ReadTileImageHeader(tile);
    }
    map.format = header.format.empty() ? m_header.format : std::string(header.format);
    map.tileWidth = header.width > 0 ? header.width : kUsualTile;
    map.tileHeight = header.height > 0 ? header.height : kUsualTile;
    DescribeByMetadata(map);
    return map;
}

void CPmtilesArchive::DescribeByMetadata(ArchiveMap& map) {
    if (m_header.metadata.length > kLargestMetadata) {
        return;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(m_header.metadata.length));
    if (!m_source->Read(m_header.metadata.offset, bytes)) {
        return;
    }
    if (m_header.directoriesArePacked) {
        bytes = Gunzip(bytes, kLargestMetadata).value_or(std::vector<std::uint8_t>());
    }
    const auto metadata = nlohmann::json::parse(bytes, nullptr, false);
    const auto text = [&](const char* key) {
        const auto value = metadata.is_object() ? metadata.find(key) : metadata.end();
        return value != metadata.end() && value->is_string() ? value->get<std::string>()
                                                             : std::string();
    };
    map.name = text("name");
    map.description = TextOfHtml(text("description"));
    map.attribution = TextOfHtml(text("attribution"));
}

bool CPmtilesArchive::ReadBytes(const PmtilesEntry& entry, std::vector<std::uint8_t>& tile) {
    if (!m_header.tiles.Holds(entry.offset, entry.length) || entry.length > kLargestTile) {
        return false;
    }
    tile.resize(entry.length);
    if (!m_source->Read(m_header.tiles.offset + entry.offset, tile)) {
        return false;
    }
    if (m_header.tilesArePacked) {
        auto unpacked = Gunzip(tile, kLargestTile);
        if (!unpacked || unpacked->empty()) {
            return false;
        }
        tile = std::move(*unpacked);
    }
    return true;
}

bool CPmtilesArchive::ReadTile(std::size_t, const GridTile& place,
                               std::vector<std::uint8_t>& tile) {
    const std::uint64_t number = PmtilesNumber(place);
    std::shared_ptr<const PmtilesDirectory> directory = m_root;
    for (int level = 0; level < kDeepestDirectory && directory != nullptr; ++level) {
        const PmtilesEntry* entry = FindPmtilesEntry(*directory, number);
        if (entry == nullptr) {
            return false;
        }
        if (entry->run > 0) {
            return ReadBytes(*entry, tile);
        }
        directory = Leaf(*entry);
    }
    return false;
}

}  // namespace Terrascope::Plugins

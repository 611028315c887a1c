#include "tests/plugins/db/PmtilesWriter.h"

#include <zlib.h>

namespace TerrascopeTest {
namespace {

std::string Little(std::uint64_t value, int bytes) {
    std::string text;
    for (; bytes > 0; --bytes, value >>= 8) {
        text += static_cast<char>(value & 0xFF);
    }
    return text;
}

}  // namespace

std::string PmtilesVarint(std::uint64_t value) {
    std::string text;
    for (; value >= 0x80; value >>= 7) {
        text += static_cast<char>(0x80 | (value & 0x7F));
    }
    return text + static_cast<char>(value);
}

std::string PmtilesDirectoryBytes(const std::vector<PmtilesLine>& lines) {
    std::string numbers, runs, lengths, offsets;
    PmtilesLine last{0, ~std::uint64_t{0}, 0, 0};
    for (const PmtilesLine& line : lines) {
        numbers += PmtilesVarint(line.number - last.number);
        runs += PmtilesVarint(line.run);
        lengths += PmtilesVarint(line.length);
        const bool follows = last.offset + last.length == line.offset;
        offsets += PmtilesVarint(follows ? 0 : line.offset + 1);
        last = line;
    }
    return PmtilesVarint(lines.size()) + numbers + runs + lengths + offsets;
}

std::string Gzipped(const std::string& content) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, static_cast<uLong>(content.size())) + 32, '\0');
    std::string copy = content;
    stream.next_in = reinterpret_cast<Bytef*>(copy.data());
    stream.avail_in = static_cast<uInt>(copy.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string PmtilesParts::Bytes() const {
    const auto packed = [&](const std::string& part) {
        return directoryCode == 2 ? Gzipped(part) : part;
    };
    std::string head = std::string("PMTiles") + '\x03';
    std::string body;
    for (const std::string& part : {packed(root), packed(metadata), leaves, tiles}) {
        head += Little(127 + body.size(), 8) + Little(part.size(), 8);
        body += part;
    }
    head += std::string(25, '\0');  // counts, and whether it is in order
    for (const std::uint8_t byte : {directoryCode, tileCode, typeCode, minZoom, maxZoom}) {
        head += static_cast<char>(byte);
    }
    for (const std::int32_t edge : bounds) {
        head += Little(static_cast<std::uint32_t>(edge), 4);
    }
    return head + std::string(9, '\0') + body;
}

PmtilesParts PmtilesWorld() {
    PmtilesParts parts;
    std::vector<PmtilesLine> root;
    std::vector<PmtilesLine> leaf;
    for (std::uint64_t number = 0; number < 85; ++number) {
        if (number > 21 && number < 25) {  // zoom 3 starts with 21
            ++leaf.back().run;
            continue;
        }
        const std::string tile = "tile" + std::to_string(number);
        (number < 21 ? root : leaf).push_back({number, parts.tiles.size(), tile.size(), 1});
        parts.tiles += tile;
        if (leaf.size() == 20 || number == 84) {
            std::string bytes = PmtilesDirectoryBytes(leaf);
            root.push_back({leaf.front().number, parts.leaves.size(), bytes.size(), 0});
            parts.leaves += bytes;
            leaf.clear();
        }
    }
    parts.root = PmtilesDirectoryBytes(root);
    return parts;
}

}  // namespace TerrascopeTest

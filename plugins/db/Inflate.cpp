#include "plugins/db/Inflate.h"

#include <zlib.h>

#include <algorithm>

namespace Terrascope::Plugins {

std::optional<std::vector<std::uint8_t>> Gunzip(std::span<const std::uint8_t> packed,
                                                std::size_t limit) {
    constexpr int kGzip = 16;  // added to the window's size: gzip's head and tail, not zlib's
    z_stream stream{};
    if (inflateInit2(&stream, MAX_WBITS + kGzip) != Z_OK) {
        return std::nullopt;
    }
    constexpr std::size_t kFirstGuess = 4096;
    std::vector<std::uint8_t> content(std::min(limit, packed.size() * 4 + kFirstGuess));
    stream.next_in = const_cast<Bytef*>(packed.data());  // NOLINT: zlib only reads it
    stream.avail_in = static_cast<uInt>(packed.size());
    int result = Z_OK;
    while (result == Z_OK) {
        if (stream.total_out == content.size()) {
            // At the limit zlib finds no room, and that is its end.
            content.resize(std::min(limit, content.size() * 2));
        }
        stream.next_out = content.data() + stream.total_out;
        stream.avail_out = static_cast<uInt>(content.size() - stream.total_out);
        result = inflate(&stream, Z_NO_FLUSH);
    }
    content.resize(stream.total_out);
    inflateEnd(&stream);
    return result == Z_STREAM_END ? std::optional(std::move(content)) : std::nullopt;
}

}  // namespace Terrascope::Plugins

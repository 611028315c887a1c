#include "plugins/codecs/PngCodec.h"

#include <spng.h>

#include <array>
#include <cstring>
#include <memory>

namespace Terrascope::Codecs {

namespace {

constexpr std::array<std::uint8_t, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::uint32_t kMaxSide = 1 << 26;
constexpr std::size_t kMaxChunk = 1 << 24;  // bytes of one chunk beside the pixels, unpacked

using Reader = std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)>;

/// A reader with its header read; null when that fails.
Reader Open(Bytes file, spng_ihdr& header) {
    Reader reader(spng_ctx_new(0), &spng_ctx_free);
    if (reader == nullptr || spng_set_image_limits(reader.get(), kMaxSide, kMaxSide) != 0 ||
        spng_set_chunk_limits(reader.get(), kMaxChunk, kMaxChunk) != 0 ||
        spng_set_crc_action(reader.get(), SPNG_CRC_ERROR, SPNG_CRC_ERROR) != 0 ||
        spng_set_png_buffer(reader.get(), file.data(), file.size()) != 0 ||
        spng_get_ihdr(reader.get(), &header) != 0) {
        reader.reset();
    }
    return reader;
}

void SwapRedAndBlue(std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, row + x * 4, 4);
        pixel = (pixel & 0xFF00FF00) | (pixel & 0xFF) << 16 | (pixel >> 16 & 0xFF);
        std::memcpy(row + x * 4, &pixel, 4);
    }
}

}  // namespace

bool DescribePng(Bytes file, TerrascopeImageSize& size) {
    spng_ihdr header{};
    if (!StartsWith(file, kSignature) || Open(file, header) == nullptr) {
        return false;
    }
    size = {header.width, header.height};
    return true;
}

bool DecodePng(Bytes file, const TerrascopeImageRows& rows) {
    spng_ihdr header{};
    const Reader reader = Open(file, header);
    if (reader == nullptr || !Fit(rows, header.width, header.height) ||
        spng_decode_image(reader.get(), nullptr, 0, SPNG_FMT_RGBA8,
                          SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE) != 0) {
        return false;
    }
    // An interlaced image comes in passes, each row of which fills in its pixels.
    const std::size_t rowBytes = std::size_t{header.width} * 4;
    int result = 0;
    do {
        spng_row_info row{};
        result = spng_get_row_info(reader.get(), &row);
        if (result == 0) {
            result = spng_decode_row(reader.get(), RowOf(rows, row.row_num), rowBytes);
        }
    } while (result == 0);
    if (result != SPNG_EOI || spng_decode_chunks(reader.get()) != 0) {
        return false;
    }
    for (std::size_t y = 0; y < rows.height; ++y) {
        SwapRedAndBlue(RowOf(rows, y), header.width);
    }
    return true;
}

}  // namespace Terrascope::Codecs

#include "plugins/codecs/JpegCodec.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace Terrascope::Codecs {

namespace {

/// The library's error handling: it jumps back to where the reader is used.
struct Errors {
    jpeg_error_mgr manager{};
    std::jmp_buf back{};
};

[[noreturn]] void Fail(j_common_ptr info) {
    // The manager is the first member, so that its address is that of the whole.
    std::longjmp(reinterpret_cast<Errors*>(info->err)->back, 1);
}

void CountWarning(j_common_ptr info, int level) {
    if (level < 0) {
        ++info->err->num_warnings;
    }
}

/// Owns the library's reader of one file.
class Reader {
public:
    explicit Reader(Errors& errors) {
        info.err = jpeg_std_error(&errors.manager);
        errors.manager.error_exit = &Fail;
        errors.manager.emit_message = &CountWarning;
        errors.manager.output_message = [](j_common_ptr) {};
    }
    ~Reader() { jpeg_destroy_decompress(&info); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    jpeg_decompress_struct info{};
};

/// All components as large as the image, or all but the first of half its width and height.
bool HasKnownSampling(const jpeg_decompress_struct& info) {
    for (int i = 0; i < info.num_components; ++i) {
        const jpeg_component_info& part = info.comp_info[i];
        const bool whole = part.h_samp_factor == info.max_h_samp_factor &&
                           part.v_samp_factor == info.max_v_samp_factor;
        const bool halved = part.h_samp_factor * 2 == info.max_h_samp_factor &&
                            part.v_samp_factor * 2 == info.max_v_samp_factor;
        if (!whole && !halved) {
            return false;
        }
    }
    return true;
}

bool IsInkColour(const jpeg_decompress_struct& info) {
    return info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
}

bool IsTaken(const jpeg_decompress_struct& info) {
    const bool knownColour = info.jpeg_color_space == JCS_GRAYSCALE ||
                             info.jpeg_color_space == JCS_YCbCr ||
                             (IsInkColour(info) && info.saw_Adobe_marker != 0);
    return knownColour && info.data_precision == 8 && info.arith_code == 0 &&
           HasKnownSampling(info);
}

void ReadHeader(jpeg_decompress_struct& info, Bytes file) {
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
}

/// Adobe's inks are inverted: 255 is none. Each darkens what black leaves.
void InksToColours(std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x, row += 4) {
        const int cyan = row[0];
        const int magenta = row[1];
        const int yellow = row[2];
        const int black = row[3];
        row[0] = static_cast<std::uint8_t>(yellow * black / 255);
        row[1] = static_cast<std::uint8_t>(magenta * black / 255);
        row[2] = static_cast<std::uint8_t>(cyan * black / 255);
        row[3] = 255;
    }
}

bool Decode(jpeg_decompress_struct& info, const TerrascopeImageRows& rows) {
    const bool inks = IsInkColour(info);
    info.out_color_space = inks ? JCS_CMYK : JCS_EXT_BGRA;
    info.dct_method = JDCT_ISLOW;
    info.do_fancy_upsampling = TRUE;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        const std::uint32_t y = info.output_scanline;
        JSAMPROW row = RowOf(rows, y);
        if (jpeg_read_scanlines(&info, &row, 1) != 1) {
            return false;
        }
        if (inks) {
            InksToColours(row, rows.width);
        }
    }
    jpeg_finish_decompress(&info);
    return info.err->num_warnings == 0;
}

}  // namespace

// The jumps leave frames of plain C only: nothing in these two functions has a destructor that
// would be passed over, and what they change after setjmp is not read after the jump.
bool DescribeJpeg(Bytes file, TerrascopeImageSize& size) {
    Errors errors;
    Reader reader(errors);
    if (setjmp(errors.back) != 0) {  // NOLINT(cert-err52-cpp): the library's only way
        return false;
    }
    ReadHeader(reader.info, file);
    size = {reader.info.image_width, reader.info.image_height};
    return IsTaken(reader.info);
}

bool DecodeJpeg(Bytes file, const TerrascopeImageRows& rows) {
    Errors errors;
    Reader reader(errors);
    if (setjmp(errors.back) != 0) {  // NOLINT(cert-err52-cpp): the library's only way
        return false;
    }
    ReadHeader(reader.info, file);
    return IsTaken(reader.info) && Fit(rows, reader.info.image_width, reader.info.image_height) &&
           Decode(reader.info, rows);
}

}  // namespace Terrascope::Codecs

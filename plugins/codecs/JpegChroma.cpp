// Makes the JPEG library enlarge halved chroma as GDI+'s decoder does: not by interpolating decoded
// samples, but by transforming each 8 x 8 block of coefficients into 16 x 16 samples.
//
// The linker calls these functions where the library calls its own of those names (see
// CMakeLists.txt), and leaves its own under the names with __real_.
#include <cstdio>

#include <jpeglib.h>

#include "plugins/codecs/ChromaTransform.h"

extern "C" {

void __real_jinit_upsampler(j_decompress_ptr info);
void __real_jpeg_idct_16x16(j_decompress_ptr info, jpeg_component_info* part, JCOEFPTR coefficients,
                            JSAMPARRAY rows, JDIMENSION column);

/// Called once an image, when sizes are computed and nothing that depends on them has been made.
void __wrap_jinit_upsampler(j_decompress_ptr info) {
    for (int i = 0; i < info->num_components; ++i) {
        jpeg_component_info& part = info->comp_info[i];
        if (part.h_samp_factor * 2 == info->max_h_samp_factor &&
            part.v_samp_factor * 2 == info->max_v_samp_factor) {
            part.DCT_scaled_size = 2 * DCTSIZE;
            part.downsampled_width = info->output_width;
            part.downsampled_height = info->output_height;
        }
    }
    __real_jinit_upsampler(info);
}

/// Called for each block of such a component; the library's own does one number at a time.
void __wrap_jpeg_idct_16x16(j_decompress_ptr info, jpeg_component_info* part, JCOEFPTR coefficients,
                            JSAMPARRAY rows, JDIMENSION column) {
    static const bool isFast = __builtin_cpu_supports("avx2") != 0;
    // A component that no scan has named has no table; all its coefficients are 0.
    if (isFast && part->quant_table != nullptr) {
        Terrascope::Codecs::TransformTo16(coefficients, part->quant_table->quantval, rows, column);
    } else {
        __real_jpeg_idct_16x16(info, part, coefficients, rows, column);
    }
}
}

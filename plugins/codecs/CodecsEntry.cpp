// The three functions of an image decoder plug-in.
#include "plugins/codecs/JpegCodec.h"
#include "plugins/codecs/PngCodec.h"
#include "plugins/codecs/WebPCodec.h"

namespace Terrascope::Codecs {

namespace {

struct Codec {
    bool (*describe)(Bytes file, TerrascopeImageSize& size);
    bool (*decode)(Bytes file, const TerrascopeImageRows& rows);
};

/// By the file's first bytes; null for an unknown format.
const Codec* CodecOf(Bytes file) {
    static constexpr Codec kJpeg{&DescribeJpeg, &DecodeJpeg};
    static constexpr Codec kPng{&DescribePng, &DecodePng};
    static constexpr Codec kWebP{&DescribeWebP, &DecodeWebP};
    switch (file.empty() ? 0 : file[0]) {
        case 0xFF:
            return &kJpeg;
        case 0x89:
            return &kPng;
        case 'R':
            return &kWebP;
        default:
            return nullptr;
    }
}

}  // namespace

}  // namespace Terrascope::Codecs

extern "C" {

__declspec(dllexport) std::int32_t TerrascopeDecoderVersion() {
    return TERRASCOPE_IMAGE_DECODER_VERSION;
}

__declspec(dllexport) std::int32_t
    TerrascopeDescribeImage(const std::uint8_t* file, std::size_t fileBytes,
                            TerrascopeImageSize* size) {
    const Terrascope::Codecs::Bytes bytes(file, fileBytes);
    const auto* codec = Terrascope::Codecs::CodecOf(bytes);
    return codec != nullptr && codec->describe(bytes, *size) ? 1 : 0;
}

__declspec(dllexport) std::int32_t
    TerrascopeDecodeImage(const std::uint8_t* file, std::size_t fileBytes,
                          const TerrascopeImageRows* rows) {
    const Terrascope::Codecs::Bytes bytes(file, fileBytes);
    const auto* codec = Terrascope::Codecs::CodecOf(bytes);
    return codec != nullptr && codec->decode(bytes, *rows) ? 1 : 0;
}
}

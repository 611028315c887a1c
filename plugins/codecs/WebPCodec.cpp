#include "plugins/codecs/WebPCodec.h"

#include <webp/decode.h>

namespace Terrascope::Codecs {

bool DescribeWebP(Bytes file, TerrascopeImageSize& size) {
    WebPBitstreamFeatures features{};
    if (WebPGetFeatures(file.data(), file.size(), &features) != VP8_STATUS_OK ||
        features.has_animation != 0) {
        return false;
    }
    size = {static_cast<std::uint32_t>(features.width),
            static_cast<std::uint32_t>(features.height)};
    return true;
}

bool DecodeWebP(Bytes file, const TerrascopeImageRows& rows) {
    TerrascopeImageSize size{};
    return DescribeWebP(file, size) && Fit(rows, size.width, size.height) &&
           WebPDecodeBGRAInto(file.data(), file.size(), rows.pixels, rows.byteCount,
                              static_cast<int>(rows.stride)) != nullptr;
}

}  // namespace Terrascope::Codecs

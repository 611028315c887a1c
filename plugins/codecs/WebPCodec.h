#pragma once

#include "plugins/codecs/ImageRows.h"

namespace Terrascope::Codecs {

/// WebP by libwebp: lossy, lossless, with and without alpha. Animations are not taken.
bool DescribeWebP(Bytes file, TerrascopeImageSize& size);
bool DecodeWebP(Bytes file, const TerrascopeImageRows& rows);

}  // namespace Terrascope::Codecs

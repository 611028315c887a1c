#pragma once

#include "plugins/codecs/ImageRows.h"

namespace Terrascope::Codecs {

/// JPEG by libjpeg-turbo, with the pixels that GDI+ shows. Not taken are the rare kinds that it
/// would show otherwise: chroma halved in one direction only or to less than a half, CMYK without
/// Adobe's marker, colours that are neither grey, YCbCr nor CMYK, arithmetic coding. A file with a
/// fault that the library mends is not decoded either: GDI+ mends it its own way.
bool DescribeJpeg(Bytes file, TerrascopeImageSize& size);
bool DecodeJpeg(Bytes file, const TerrascopeImageRows& rows);

}  // namespace Terrascope::Codecs

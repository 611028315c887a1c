#pragma once

#include "plugins/codecs/ImageRows.h"

namespace Terrascope::Codecs {

/// PNG by libspng, as GDI+ shows it: every kind of pixel, interlaced or not; gamma chunks are not
/// applied. A file with a wrong checksum or cut short is not decoded.
bool DescribePng(Bytes file, TerrascopeImageSize& size);
bool DecodePng(Bytes file, const TerrascopeImageRows& rows);

}  // namespace Terrascope::Codecs

#pragma once

#include <afxwin.h>

#include <cstdint>
#include <memory>
#include <span>

#include "terrascope/tiles/ImageDecoders.h"
#include "terrascope/tiles/TilePicture.h"

namespace Terrascope {

/// An image decoded into the finished picture of a tile.
struct DecodedImage {
    /// Drawn over waiting grey; null when the image was refused.
    std::shared_ptr<CTilePicture> picture = nullptr;
    /// With transparency, drawn over nothing; null for an opaque image. For a tile that shows
    /// something else than grey: it is drawn over that.
    std::shared_ptr<CTilePicture> translucent = nullptr;
    const char* failure = nullptr;  ///< why the image was refused, for the log
};

/// Decodes an image file into the picture of a tile, with the first of the decoders that takes it,
/// with GDI+ where there are none or none does: the one place that decides who decodes. An image of
/// the tile's own size is taken pixel for pixel, any other stretched over one pixel more than the
/// tile in the directions that differ, so that no rim shows.
///
/// Units:   `tileSize` in pixels. Threads: any, several at once. Any bytes are safe.
DecodedImage DecodeImage(std::span<const std::uint8_t> file, CSize tileSize,
                         const CImageDecoders* decoders = nullptr);

/// The same for a tile that shows `ground` (null for grey) until now: its new picture.
std::shared_ptr<const CTilePicture> DrawOver(const DecodedImage& image, const CTilePicture* ground);

}  // namespace Terrascope

#pragma once

#include <afx.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "terrascope/tiles/ImageDecoderPlugin.h"
#include "terrascope/tiles/ImageHeader.h"
#include "terrascope/tiles/TilePicture.h"

namespace Terrascope {

/// The image decoder plug-ins of the process, in the order of their folder.
///
/// Owns:    the plug-ins' libraries; unloads them when it goes.
/// Threads: any, several at once. Nothing changes after it was made.
/// Errors:  a plug-in that cannot be used is logged and left out.
class CImageDecoders {
public:
    /// The decoders in Plugins\Quillmont\ImageDecoder beside the library, loaded at the first call
    /// and again after ReleaseInstalled, or when there was none or one could not be loaded. Never
    /// null, but there may be none.
    /// Threads: any; not under the loader lock.
    static std::shared_ptr<const CImageDecoders> Installed();

    /// Unloads them, when their last holder has gone.
    static void ReleaseInstalled();

    /// The decoders of a folder.
    explicit CImageDecoders(const CString& folder);
    CImageDecoders(const CImageDecoders&) = delete;
    CImageDecoders& operator=(const CImageDecoders&) = delete;
    ~CImageDecoders();

    /// The file's pixels from the first decoder that takes and decodes it, in the image's own size;
    /// null when none does. `header` is what the library itself has read.
    std::shared_ptr<CTilePicture> Decode(std::span<const std::uint8_t> file,
                                         const ImageHeader& header) const;

private:
    struct Decoder;

    std::vector<Decoder> m_decoders;
    bool m_isComplete = true;  ///< there are some, and none could not be loaded
};

}  // namespace Terrascope

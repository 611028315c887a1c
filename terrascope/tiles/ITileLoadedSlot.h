#pragma once

#include "terrascope/providers/TileMapRecords.h"
#include "terrascope/tiles/ImageDecoding.h"
#include "terrascope/tiles/TileLoadRequest.h"

namespace Terrascope {

/// Receives the tiles that the loading threads fetched.
///
/// Threads: called on a loading thread with no lock held, by several threads at once.
/// Owns:    the record that it is given, from then on; it may be null.
/// Errors:  an exception is logged, and the thread goes on with the next tile.
class ITileLoadedSlot {
public:
    virtual ~ITileLoadedSlot() = default;
    virtual void OnTileLoaded(tagTILE_IMAGE* image) = 0;

    /// The same with the request that the tile answers and, if that has a tile size, the decoded
    /// image; `image` may be null here as well. This is what the loading threads call.
    virtual void OnTileFetched(tagTILE_IMAGE* image, const tagTILE_LOAD_REQUEST& request,
                               const DecodedImage& decoded) {
        static_cast<void>(request);
        static_cast<void>(decoded);
        OnTileLoaded(image);
    }
};

}  // namespace Terrascope

#pragma once

#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope {

/// Receives the tiles that the loading threads fetched.
///
/// Threads: OnTileLoaded is called on a loading thread with no lock held, by two threads at once.
/// Owns:    the record that it is given, from then on; it may be null.
class ITileLoadedSlot {
public:
    virtual ~ITileLoadedSlot() = default;
    virtual void OnTileLoaded(tagTILE_IMAGE* image) = 0;
};

}  // namespace Terrascope

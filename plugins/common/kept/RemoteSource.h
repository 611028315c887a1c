#pragma once

#include <afx.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plugins/common/kept/TileFreshness.h"
#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope::Plugins {

/// What a remote provider's answer for one tile is.
enum class RemoteOutcome {
    Here,
    NotModified,  ///< the tile that the asker has is still the right one
    Absent,       ///< there is no such tile
    Failed,       ///< now; it may be there later
};

struct RemoteTile {
    RemoteOutcome outcome = RemoteOutcome::Failed;
    std::vector<std::uint8_t> bytes;  ///< of an image, when it is here
    TileFreshness freshness;          ///< when it is here, or not modified
};

/// What a remote provider may offer beside its provider interface, for a local one that keeps what
/// it gets. The local provider finds it by a dynamic_cast.
///
/// Threads: every operation may run beside every other, and beside those of the provider.
/// Errors:  nothing throws.
class IRemoteSource {
public:
    virtual ~IRemoteSource() = default;

    /// Asks for one tile; waits for the server, as LoadTiles does. `known` (may be null) is what is
    /// kept: the server need not send it again.
    virtual RemoteTile LoadTile(const CString& mapName, int layerNumber, const CString& key,
                                const TileFreshness* known) = 0;

    /// The maps, without waiting for a server; nothing as long as no server has answered.
    virtual std::optional<std::vector<tagTILE_MAP_INFO>> MapsNow() = 0;

    /// Sixteen hexadecimal digits that are the same for the same data path, in every process: a
    /// hash that is not meant to protect it. A short key of a paid service in a path that is known
    /// otherwise could be found by trial.
    /// Empty: it has no data path, and so neither maps nor a server.
    virtual std::string Identity() = 0;

    /// Ends what waits for a server, now and from now on.
    virtual void Cancel() = 0;
};

/// Marks a provider whose tiles are files of this machine: a local provider that has it as its
/// remote one does not keep them a second time.
class IHasOwnFiles {
public:
    virtual ~IHasOwnFiles() = default;
};

}  // namespace Terrascope::Plugins

#pragma once

#include "plugins/web/DataPath.h"

namespace Terrascope::Plugins {

/// Whether an address names a PMTiles archive: by the ending of its path.
bool NamesPmtiles(const HttpAddress& address);

struct PmtilesMapResult {
    std::shared_ptr<const WebMap> map;  ///< null, with the reason, when there is none
    bool isHere = true;                 ///< false: the archive could not be had
    std::string reason;
};

/// The map of a PMTiles archive on a server that delivers ranges. Its tiles are read in ranges, by
/// directories that are kept. Of what the data path states, bounds make no difference.
/// Threads: any; waits for the server.
PmtilesMapResult ReadPmtilesMap(const HttpAddress& address, const DataPath& path,
                                const WebAccess& access, const Cancellation& cancellation);

}  // namespace Terrascope::Plugins

#pragma once

#include <string>

#include "plugins/web/WebMap.h"

namespace Terrascope::Plugins {

struct ReadMapsResult {
    WebLibrary maps;
    bool isComplete = false;  ///< no document was out of reach
};

/// The maps of a data path (UTF-8), for which a template needs no server: a TileJSON document, a
/// WMTS capabilities document, a PMTiles archive, or a list of documents and addresses. What cannot
/// be used, or cannot be had now, is named in the log, and the others stay. No two maps have the
/// same name, ignoring case. Threads: any; waits for servers.
ReadMapsResult ReadMaps(const std::string& dataPath, const WebAccess& access,
                        const Cancellation& cancellation);

}  // namespace Terrascope::Plugins

#pragma once

#include <optional>
#include <string>

#include "plugins/web/WebMap.h"

namespace Terrascope::Plugins {

/// The maps of a data path (UTF-8), for which a template needs no server. What cannot be used is
/// named in the log, and the others stay. Nothing when the document could not be had: it may be
/// there later. No two maps have the same name, ignoring case.
/// Threads: any; waits for servers.
std::optional<WebLibrary> ReadMaps(const std::string& dataPath, const WebAccess& access,
                                   const Cancellation& cancellation);

}  // namespace Terrascope::Plugins

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <string>

#include "plugins/web/DataPath.h"

namespace Terrascope::Plugins {

/// The map that a TileJSON document describes (versions 2 and 3): unknown keys are ignored, an
/// optional value that is invalid counts as absent. Null, with the reason, when a required one is
/// missing or invalid, or the tiles are vector data. `address` is the document's own.
std::shared_ptr<const WebMap> ReadTileJson(const nlohmann::json& document,
                                           const HttpAddress& address, const DataPath& path,
                                           std::string& reason);

}  // namespace Terrascope::Plugins

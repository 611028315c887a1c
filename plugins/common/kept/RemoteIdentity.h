#pragma once

#include <string>

#include "terrascope/providers/ITileMapInfoProvider.h"

namespace Terrascope::Plugins {

/// Sixteen hexadecimal digits for a remote provider that has none itself, by what is known of it:
/// its class, its plug-in's file, and the data path of the settings. The same in every process.
std::string IdentityOf(const ITileMapInfoProvider& provider);

}  // namespace Terrascope::Plugins

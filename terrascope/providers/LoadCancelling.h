#pragma once

#include "terrascope/providers/ITileMapInfoProvider.h"

namespace Terrascope {

/// Asks the plug-in of a provider, and of the remote provider that is attached to it, to have the
/// calls of LoadTiles in progress return soon, by the entry "cancelLoads" that a plug-in may
/// export. A plug-in is the module that has the table of the provider's virtual functions.
///
/// Threads: any; LoadTiles may be running. Errors: what a plug-in throws is logged.
void CancelLoads(ITileMapInfoProvider& provider);

}  // namespace Terrascope

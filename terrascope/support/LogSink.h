#pragma once

#include <afx.h>

namespace Terrascope {

/// Where the library's rooms log what a support engineer needs. Until a receiver is set the lines
/// are dropped.
///
/// Threads: any; the receiver is called on the caller's thread, possibly under the caller's locks,
///          and must neither block for long nor throw.
using LogReceiver = void (*)(const char* line);

/// Sets the receiver of the whole module; null drops the lines. Returns the former one.
LogReceiver SetLogReceiver(LogReceiver receiver);

/// Hands one printf-style line to the receiver; longer than 1000 characters is cut.
[[gnu::format(printf, 1, 2)]] void LogLine(const char* format, ...);

/// Reports a tile that could not be shown. After 20 reports only every hundredth is passed on.
void LogTileFailure(const char* key, const char* reason);

}  // namespace Terrascope

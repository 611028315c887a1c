#pragma once

#include <afx.h>

#include <cstdint>

namespace Terrascope::Plugins {

/// CACHE_LIMIT_MB in a provider's section of Terrascope.ini beside the library, in bytes: 512 MiB
/// if there is none, or, with a line in the log, none that can be used. 0: nothing is to be kept.
std::uint64_t ReadKeptLimit(const char* provider);

/// The same from a named file.
std::uint64_t ReadKeptLimit(const CString& settingsFile, const char* provider);

}  // namespace Terrascope::Plugins

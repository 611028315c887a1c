#pragma once

#include <afx.h>

#include <cstdint>
#include <string_view>

namespace Terrascope::Plugins {

/// The folder of kept tiles in a data path.
inline constexpr wchar_t kKeptFolder[] = L"kept";

/// Whether a folder in a data path has that name: it is none of maps or tiles.
bool IsKeptFolder(std::wstring_view name);

/// CACHE_LIMIT_MB in a provider's section of Terrascope.ini beside the library, in bytes: 512 MiB
/// if there is none, or, with a line in the log, none that can be used. 0: nothing is to be kept.
std::uint64_t ReadKeptLimit(const char* provider);

/// The same from a named file.
std::uint64_t ReadKeptLimit(const CString& settingsFile, const char* provider);

}  // namespace Terrascope::Plugins

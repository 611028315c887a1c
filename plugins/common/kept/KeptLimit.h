#pragma once

#include <cstdint>
#include <string>

#include "plugins/common/sqlite/SqliteWriter.h"

namespace Terrascope::Plugins {

/// Brings the files of kept tiles in a folder back to nine tenths of `limit` bytes in all, if they
/// have more: the tiles of all files that were longest unused go, a few at a time so that nobody
/// waits long for a file. Files of others do not count. A file without tiles goes.
void KeepWithin(const std::wstring& folder, std::uint64_t limit,
                const CSqliteWriter::MayWait& mayWait);

/// Deletes a file of kept tiles that has none.
void DeleteIfEmpty(const std::wstring& path, const CSqliteWriter::MayWait& mayWait);

}  // namespace Terrascope::Plugins

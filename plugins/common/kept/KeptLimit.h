#pragma once

#include <cstdint>
#include <string>

#include "plugins/common/sqlite/SqliteWriter.h"

namespace Terrascope::Plugins {

/// Brings the files of kept tiles in a folder back to nine tenths of `limit` bytes in all, if they
/// have more: the tiles of all files that were longest unused go, a few at a time so that nobody
/// waits long for a file. Files of others do not count. Drafts and damaged files count, and go
/// first. A file without tiles goes; one that another program has locked for half a second is left
/// for the next time.
void KeepWithin(const std::wstring& folder, std::uint64_t limit,
                const CSqliteWriter::MayWait& mayWait);

}  // namespace Terrascope::Plugins

#pragma once

#include <string>

#include "plugins/common/WatchedFile.h"
#include "plugins/common/kept/KeptMap.h"
#include "plugins/common/sqlite/SqliteWriter.h"

namespace Terrascope::Plugins {

/// How a file of kept tiles leaves its place: always by another name first, and only while it is
/// the one in that place, so that others who have it open, or wait for it, notice.

/// Deletes the map's file with all its tiles, if there is one. Other than None when it stays.
SqliteFailure RemoveMap(const std::wstring& folder, const KeptMap& map,
                        const CSqliteWriter::MayWait& mayWait);

/// Deletes a file of kept tiles that has none.
void DeleteIfEmpty(const std::wstring& path, const CSqliteWriter::MayWait& mayWait);

/// Calls a damaged file `.damaged`, unless another connection works with it. What `database` has
/// begun is undone.
void MoveAside(CWatchedFile& file, CSqliteWriter& database);

}  // namespace Terrascope::Plugins

#pragma once

namespace Terrascope::Plugins {

/// Has SQLite open its files so that they may be renamed and deleted meanwhile. Before the first
/// connection; further calls do nothing. Threads: any.
void PrepareSqliteFiles();

}  // namespace Terrascope::Plugins

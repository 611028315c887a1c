#pragma once

#include <afxmt.h>

#include <list>
#include <memory>
#include <string>

#include "plugins/split_file/MapLibrary.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// The libraries that were read last, for all providers of the process: each display, dialog and
/// update makes a provider of its own, and reading thousands of descriptions takes long.
///
/// Owns:    the readings of the four folders that were asked for last, past the life of their
///          providers. One that is dropped lives on with those that still use it.
/// Threads: any. No file is read under the lock: two that ask at once may both read.
class CLibraryCache {
public:
    /// Goes with the plug-in.
    static CLibraryCache& OfProcess();

    /// The library as its folder has it now: see ReadMapLibrary, which reads what has changed.
    /// Null when the folder cannot be read.
    std::shared_ptr<const MapLibrary> Read(const std::wstring& folder);

private:
    struct Entry {
        std::wstring folder;
        std::shared_ptr<const LibraryReading> reading;
    };
    std::shared_ptr<const LibraryReading> Find(const std::wstring& folder);
    /// A null reading drops the folder's.
    void Keep(const std::wstring& folder, std::shared_ptr<const LibraryReading> reading);

    CCriticalSection m_lock;
    std::list<Entry> m_entries TERRASCOPE_GUARDED_BY(m_lock);  ///< the latest first
};

}  // namespace Terrascope::Plugins

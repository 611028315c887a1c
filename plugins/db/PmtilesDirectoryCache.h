#pragma once

#include <afxmt.h>

#include <list>
#include <memory>
#include <unordered_map>

#include "plugins/db/PmtilesDirectory.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// The largest directory that is read, unpacked, and what it may take in memory, in bytes.
inline constexpr std::size_t kLargestDirectory = std::size_t{4} * 1024 * 1024;

/// The directories that were used last, by their offsets.
///
/// Owns:    at most so many bytes of them; one that is dropped lives on with those that use it.
/// Threads: any; nothing is read under the lock.
class CPmtilesDirectoryCache {
public:
    explicit CPmtilesDirectoryCache(std::size_t limit) : m_limit(limit) {}

    /// Null when it is not there.
    std::shared_ptr<const PmtilesDirectory> Find(std::uint64_t offset);
    void Keep(std::uint64_t offset, const std::shared_ptr<const PmtilesDirectory>& directory);
    /// Bytes of all of them.
    std::size_t Size();

    static std::size_t SizeOf(const PmtilesDirectory& directory) {
        return directory.capacity() * sizeof(PmtilesEntry);
    }

private:
    struct Kept {
        std::uint64_t offset = 0;
        std::shared_ptr<const PmtilesDirectory> directory;
    };

    const std::size_t m_limit;
    CCriticalSection m_lock;
    std::list<Kept> m_kept TERRASCOPE_GUARDED_BY(m_lock);  ///< the one used last first
    std::unordered_map<std::uint64_t, std::list<Kept>::iterator> m_places
        TERRASCOPE_GUARDED_BY(m_lock);
    std::size_t m_size TERRASCOPE_GUARDED_BY(m_lock) = 0;
};

}  // namespace Terrascope::Plugins

#pragma once

#include <afxmt.h>

#include <cstddef>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>

#include "terrascope/support/ThreadAnnotations.h"
#include "terrascope/tiles/TileKey.h"
#include "terrascope/tiles/TilePicture.h"

namespace Terrascope {

/// A decoded tile out of sight: its picture and the place that its provider gave it.
struct CachedTile {
    std::shared_ptr<const CTilePicture> picture;
    TileIndex place;
};

/// The pictures of tiles that left their display's load region, within a number of bytes; what was
/// not used for longest goes first. One for the process.
///
/// Owns:    a share of the pictures, until they are taken again.
/// Threads: any. Locks: one, innermost; pictures are freed outside it.
/// Ends:    with the last display that holds it.
class CPictureCache {
public:
    /// The cache, for a display that allows it `bytes`; the largest allowance of the displays that
    /// hold it counts. Null for 0 bytes.
    class CHold {
    public:
        explicit CHold(std::size_t bytes);
        CHold(const CHold&) = delete;
        CHold& operator=(const CHold&) = delete;
        ~CHold();

        CPictureCache* Get() const { return m_cache.get(); }

    private:
        const std::size_t m_bytes;
        std::shared_ptr<CPictureCache> m_cache;
    };

    /// Forgets all pictures: a library of maps was updated.
    static void ForgetAll();

    /// The number that names begin with; ForgetAll changes it.
    unsigned Generation() const;

    /// Keeps a tile under a name; an older one of that name goes, also when memory is short.
    /// Requires: the tile has a picture.
    void Put(const std::string& name, CachedTile tile);

    /// Gives a tile back and forgets it; an empty one when it is not there.
    CachedTile Take(const std::string& name);

    std::size_t Bytes() const;

private:
    struct Entry {
        std::string name;
        CachedTile tile;
    };
    using Entries = std::list<Entry>;

    static std::size_t BytesOf(const CachedTile& tile);
    /// Moves what is beyond the bound into `freed`, for its owner to delete outside the lock.
    void TrimLocked(Entries& freed) TERRASCOPE_REQUIRES(m_lock);

    mutable CCriticalSection m_lock;
    std::multiset<std::size_t> m_allowances TERRASCOPE_GUARDED_BY(m_lock);
    Entries m_entries TERRASCOPE_GUARDED_BY(m_lock);  ///< front = used last
    std::unordered_map<std::string, Entries::iterator> m_byName TERRASCOPE_GUARDED_BY(m_lock);
    std::size_t m_bytes TERRASCOPE_GUARDED_BY(m_lock) = 0;
    unsigned m_generation TERRASCOPE_GUARDED_BY(m_lock) = 0;
};

}  // namespace Terrascope

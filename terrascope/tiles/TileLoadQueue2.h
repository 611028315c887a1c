#pragma once

#include <afxmt.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>

#include "ThreadAnnotations.h"
#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/tiles/ITileLoadedSlot.h"
#include "terrascope/tiles/TileLoadRequest.h"

namespace Terrascope {

class CTileLoadThread;

/// The tiles that still want their image, in the order in which they will be fetched, and the two
/// threads that fetch them. A key is queued once, whatever map or layer it came with.
///
/// Owns:    the threads. Borrows: slot and provider, which must outlive it.
/// Threads: the user-interface thread pushes, moves and clears; the loading threads pop.
/// Locks:   one, innermost of all; never held while calling out.
/// Errors:  the constructor throws the framework's resource exception.
/// Ends:    the destructor stops the threads, up to 10 s each. One that is still inside the
///          provider or the slot then is abandoned: it, and the provider with it, live on.
class CTileLoadQueue2 {
public:
    CTileLoadQueue2(ITileLoadedSlot* slot, CTileMapInfoProviderWrapper* provider);
    CTileLoadQueue2(const CTileLoadQueue2&) = delete;
    CTileLoadQueue2& operator=(const CTileLoadQueue2&) = delete;
    virtual ~CTileLoadQueue2();

    /// Queues a tile at the back unless its key (case ignored) is queued already. The result of
    /// this and of MoveToFront and Clear tells whether the lock was taken.
    /// With the tile's size in pixels the image is decoded before it is delivered.
    bool Push(const CString& mapName, std::int32_t layerNumber, const CString& key,
              CSize tileSize = CSize(0, 0));

    /// Takes the request at the front; an empty request when there is none.
    tagTILE_LOAD_REQUEST Pop();

    /// Makes a queued key (case ignored) the next to be fetched.
    bool MoveToFront(const CString& key);

    /// Forgets what is pending. What is being fetched meanwhile becomes stale.
    bool Clear();

    /// Whether a request came before a Clear: its tile is of a map or layer that is no longer
    /// shown, though a tile of the same key may be there.
    bool IsStale(const tagTILE_LOAD_REQUEST& request);

    /// Leave the queue as it is: see the source.
    void Pause();
    void Resume();

private:
    using Requests = std::list<tagTILE_LOAD_REQUEST>;

    void ClearLocked() REQUIRES(m_lock);

    CCriticalSection m_lock;
    bool m_paused GUARDED_BY(m_lock) = false;
    Requests m_requests GUARDED_BY(m_lock);  ///< front = next to fetch
    /// Each queued key in lower case, and its request.
    std::unordered_map<std::string, Requests::iterator> m_byKey GUARDED_BY(m_lock);
    std::uint32_t m_serial GUARDED_BY(m_lock) = 0;  ///< ended and renewed by Clear
    ITileLoadedSlot* m_slot;
    CTileMapInfoProviderWrapper* m_provider;
    std::list<std::unique_ptr<CTileLoadThread>> m_workers;
};

}  // namespace Terrascope

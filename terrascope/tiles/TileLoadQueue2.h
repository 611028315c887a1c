#pragma once

#include <afxmt.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>

#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/support/ThreadAnnotations.h"
#include "terrascope/tiles/FailedRequests.h"
#include "terrascope/tiles/ITileLoadedSlot.h"
#include "terrascope/tiles/ImageDecoders.h"
#include "terrascope/tiles/PixelStore.h"
#include "terrascope/tiles/TileLoadPolicy.h"
#include "terrascope/tiles/TileLoadRequest.h"

namespace Terrascope {

class CTileLoadThread;

/// The tiles that still want their image, in the order in which they will be fetched, and the
/// threads that fetch them: two, or what the policy gives. A key is queued once, whatever map or
/// layer it came with.
///
/// Two lists: what was pushed, and what was pushed ahead of the view, which is served when the view
/// waits for nothing that is pending or being fetched. By default nothing is pushed ahead.
///
/// Owns:    the threads. Borrows: slot and provider, which must outlive it.
/// Threads: the user-interface thread pushes, moves and clears; the loading threads pop.
/// Locks:   one, innermost of all; never held while calling out.
/// Errors:  the constructor throws the framework's resource exception.
/// Ends:    the destructor stops the threads, up to 10 s each. One that is still inside the
///          provider or the slot then is abandoned: it, and the provider with it, live on.
class CTileLoadQueue2 {
public:
    CTileLoadQueue2(ITileLoadedSlot* slot, CTileMapInfoProviderWrapper* provider,
                    const TileLoadPolicy& policy = {});
    CTileLoadQueue2(const CTileLoadQueue2&) = delete;
    CTileLoadQueue2& operator=(const CTileLoadQueue2&) = delete;
    virtual ~CTileLoadQueue2();

    /// Queues a tile at the back unless its key (case ignored) is queued already. The result of
    /// this and of MoveToFront and Clear tells whether the lock was taken.
    /// With the tile's size in pixels the image is decoded before it is delivered.
    bool Push(const CString& mapName, std::int32_t layerNumber, const CString& key,
              CSize tileSize = CSize(0, 0), bool ahead = false);

    /// Takes the request at the front; an empty request when there is none.
    tagTILE_LOAD_REQUEST Pop();

    /// The same for a loading thread, which reports with Done that it has delivered or failed. With
    /// FAST it waits for a request, and is woken without one when the queue ends.
    /// With FAST, one that brought no tile is made again after a while, if the tile is in view
    /// then: see TileLoadPolicy::retryDelays. Requires: each request of Next comes back to Done
    /// once, however it ended.
    tagTILE_LOAD_REQUEST Next();
    void Done(const tagTILE_LOAD_REQUEST& request, bool failed = false);

    /// The tile of a request from Next has come. Whether that completes the view: true for one of
    /// its tiles, the last.
    bool NoteDelivered(const tagTILE_LOAD_REQUEST& request);

    /// With FAST, no request is taken while one of these lives: the user interface is about to push
    /// and arrange many, and each would wake a thread that takes its processor and its locks.
    class CHold {
    public:
        explicit CHold(CTileLoadQueue2& queue);
        CHold(const CHold&) = delete;
        CHold& operator=(const CHold&) = delete;
        ~CHold();

    private:
        CTileLoadQueue2& m_queue;
    };

    /// With FAST, after the view has moved: withdraws what has no rank, and orders the rest, the
    /// visible tiles first, the nearest first.
    using Ranks = TileRanks;
    void Arrange(const Ranks& ranks);

    const TileLoadPolicy& Policy() const { return m_policy; }

    /// The decoder plug-ins of the policy, null without. Who decodes keeps its share meanwhile: the
    /// queue may end before.
    const std::shared_ptr<const CImageDecoders>& Decoders() const { return m_decoders; }

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

    /// Moves the request at the front into `taken`; nothing has changed when it throws.
    tagTILE_LOAD_REQUEST PopLocked(Requests& taken) TERRASCOPE_REQUIRES(m_lock);
    Requests::iterator FindFetchedLocked(const tagTILE_LOAD_REQUEST& request)
        TERRASCOPE_REQUIRES(m_lock);
    bool IsViewWaitingLocked() const TERRASCOPE_REQUIRES(m_lock);
    void AskAgainLocked() TERRASCOPE_REQUIRES(m_lock);
    DWORD WaitLocked() const TERRASCOPE_REQUIRES(m_lock);
    bool NoteLocked(const tagTILE_LOAD_REQUEST& request, bool failed) TERRASCOPE_REQUIRES(m_lock);
    void Hold(int change);
    /// Nothing is served any more; whoever waits in Next is woken.
    void EndServing();
    void ClearLocked() TERRASCOPE_REQUIRES(m_lock);
    void ArrangeLocked(const Ranks& ranks) TERRASCOPE_REQUIRES(m_lock);
    Requests& ListOf(const tagTILE_LOAD_REQUEST& request) TERRASCOPE_REQUIRES(m_lock);

    const TileLoadPolicy m_policy;
    const std::shared_ptr<const CImageDecoders> m_decoders;
    /// Lives on from picture to picture.
    const std::shared_ptr<CPixelStore> m_pixels = CPixelStore::Shared();
    CCriticalSection m_lock;
    CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;  ///< something may be taken, or the end
    bool m_paused TERRASCOPE_GUARDED_BY(m_lock) = false;
    Requests m_requests TERRASCOPE_GUARDED_BY(m_lock);       ///< front = next to fetch
    Requests m_ahead TERRASCOPE_GUARDED_BY(m_lock);          ///< the same for what was pushed ahead
    CFailedRequests m_failed TERRASCOPE_GUARDED_BY(m_lock);  ///< with FAST
    int m_holds TERRASCOPE_GUARDED_BY(m_lock) = 0;           ///< objects of CHold
    Requests m_fetching TERRASCOPE_GUARDED_BY(m_lock);       ///< taken by Next, not done, not stale
    /// Each queued key with its case folded, and its request.
    std::unordered_map<std::string, Requests::iterator> m_byKey TERRASCOPE_GUARDED_BY(m_lock);
    std::uint32_t m_serial TERRASCOPE_GUARDED_BY(m_lock) = 0;  ///< ended and renewed by Clear
    ITileLoadedSlot* m_slot;
    CTileMapInfoProviderWrapper* m_provider;
    std::list<std::unique_ptr<CTileLoadThread>> m_workers;
};

}  // namespace Terrascope

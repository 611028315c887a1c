#pragma once

#include <atomic>

#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/support/GdiplusSession.h"
#include "terrascope/tiles/ITileLoadedSlot.h"
#include "terrascope/tiles/Thread.h"
#include "terrascope/tiles/TileLoadRequest.h"

namespace Terrascope {

class CTileLoadQueue2;

/// Fetches queued tiles one by one and hands them to the slot; without FAST, at most one in about
/// 151 ms.
///
/// Borrows: slot, provider and queue; they must outlive the thread.
/// Threads: the slot is called on this thread, with no lock held.
/// Errors:  an exception is logged, and the thread goes on with the next tile.
/// Ends:    between two tiles. A thread that is stuck in the provider or the slot can be abandoned.
class CTileLoadThread : public CThread {
public:
    CTileLoadThread(ITileLoadedSlot* slot, CTileMapInfoProviderWrapper* provider,
                    CTileLoadQueue2* queue);
    ~CTileLoadThread() override;

    DWORD Run() override;

    /// Gives up a thread that is inside the provider or the slot: when it comes back it touches
    /// nothing but itself. False when it is elsewhere and will stop by itself. After true the
    /// object, and the provider, must stay alive.
    bool Abandon();

private:
    enum class State { Polling, Fetching, Delivering, Abandoned };

    /// Goes on to the next state; false when the thread was abandoned in this one.
    bool Advance(State from, State to);

    /// One request fetched, delivered and paced; false when the thread was abandoned meanwhile.
    bool ServeOne();
    /// Whether there was something to deliver. `decoders` may be null.
    bool FetchAndDeliver(const tagTILE_LOAD_REQUEST& request, const CImageDecoders* decoders);
    void Pace(DWORD start) const;

    const CGdiplusSession m_gdiplus;  ///< for the decoder, also when this is abandoned inside it
    ITileLoadedSlot* m_slot;
    CTileMapInfoProviderWrapper* m_provider;
    CTileLoadQueue2* m_queue;
    std::atomic<State> m_state{State::Polling};
};

}  // namespace Terrascope

#include "terrascope/tiles/TileLoadThread.h"

#include <exception>
#include <list>
#include <memory>
#include <new>

#include "terrascope/support/LogSink.h"
#include "terrascope/tiles/TileLoadQueue2.h"

namespace Terrascope {

namespace {
constexpr DWORD kIdleSleep = 20;  // ms between two looks at an empty queue
constexpr DWORD kPaceSleep = 10;  // ms
constexpr int kPace = 150;        // ms that a delivered tile takes at least

/// The first image decoded, before any lock is taken: nobody waits for a decoder.
DecodedImage Decode(const std::list<tagTILE_IMAGE*>& images, CSize tileSize,
                    const CImageDecoders* decoders) {
    if (images.empty() || images.front() == nullptr || tileSize.cx <= 0 ||
        images.front()->stream.GetLength() == 0) {
        return {};
    }
    try {
        return DecodeImage(images.front()->stream.Bytes(), tileSize, decoders);
    } catch (const std::bad_alloc&) {
        return {.failure = "there is no memory for its image"};
    }
}

}  // namespace

CTileLoadThread::CTileLoadThread(ITileLoadedSlot* slot, CTileMapInfoProviderWrapper* provider,
                                 CTileLoadQueue2* queue)
    : m_slot(slot), m_provider(provider), m_queue(queue) {}

CTileLoadThread::~CTileLoadThread() {
    Stop();
}

DWORD CTileLoadThread::Run() {
    while (!ShouldStop(0)) {
        if (m_queue == nullptr || m_provider == nullptr || m_slot == nullptr || !ServeOne()) {
            break;
        }
    }
    return 0;
}

bool CTileLoadThread::Abandon() {
    return Advance(State::Fetching, State::Abandoned) ||
           Advance(State::Delivering, State::Abandoned);
}

bool CTileLoadThread::Advance(State from, State to) {
    return m_state.compare_exchange_strong(from, to);
}

bool CTileLoadThread::ServeOne() {
    const tagTILE_LOAD_REQUEST request = m_queue->Next();
    if (request.strKey.IsEmpty()) {
        ::Sleep(kIdleSleep);
        return true;
    }

    const DWORD start = ::GetTickCount();
    const std::shared_ptr<const CImageDecoders> decoders = m_queue->Decoders();
    m_state = State::Fetching;
    bool delivered = true;
    try {
        delivered = FetchAndDeliver(request, decoders.get());
    } catch (CException* failure) {
        failure->Delete();
        LogTileFailure(request.strKey, "its loading failed");
    } catch (const std::exception& failure) {
        LogTileFailure(request.strKey, failure.what());
    } catch (...) {
        LogTileFailure(request.strKey, "its loading failed");
    }
    if (!Advance(State::Delivering, State::Polling) && !Advance(State::Fetching, State::Polling)) {
        return false;
    }
    m_queue->Done(request, !delivered);
    if (delivered && !m_queue->Policy().fast) {
        Pace(start);
    }
    return true;
}

bool CTileLoadThread::FetchAndDeliver(const tagTILE_LOAD_REQUEST& request,
                                      const CImageDecoders* decoders) {
    const std::list<tagTILE_IMAGE*> images =
        m_provider->LoadTiles(request.strMapName, request.nLayerNumber, {request.strKey});
    DecodedImage decoded;
    if (m_state == State::Fetching) {
        decoded = Decode(images, request.tileSize, decoders);
    }
    if (!Advance(State::Fetching, State::Delivering)) {
        for (tagTILE_IMAGE* image : images) {
            delete image;
        }
        return false;
    }
    if (!images.empty()) {
        // One key was asked for: records beyond the first are the provider's own affair.
        m_slot->OnTileFetched(images.front(), request, decoded);
    }
    return !images.empty();
}

void CTileLoadThread::Pace(DWORD start) const {
    // The sleeps are counted, not measured: the pace does not depend on the timer's grain.
    for (int elapsed = static_cast<int>(::GetTickCount() - start); elapsed <= kPace;
         elapsed += static_cast<int>(kPaceSleep)) {
        ::Sleep(kPaceSleep);
    }
}

}  // namespace Terrascope

#include "terrascope/tiles/TileLoadQueue2.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "terrascope/support/text/MultibyteText.h"
#include "terrascope/tiles/TileLoadThread.h"

namespace Terrascope {

namespace {

/// Keeps the code of this module in memory until the process ends.
void PinThisModule() {
    HMODULE module = nullptr;
    ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<LPCSTR>(&PinThisModule), &module);
}

}  // namespace

CTileLoadQueue2::CTileLoadQueue2(ITileLoadedSlot* slot, CTileMapInfoProviderWrapper* provider,
                                 const TileLoadPolicy& policy)
    : m_policy(policy),
      m_decoders(policy.codecs ? CImageDecoders::Installed() : nullptr),
      m_slot(slot),
      m_provider(provider) {
    // None may run before all are there: a failure here destroys the queue under it.
    for (int i = 0; i < m_policy.threads; ++i) {
        m_workers.push_back(std::make_unique<CTileLoadThread>(m_slot, m_provider, this));
    }
    try {
        for (const auto& worker : m_workers) {
            worker->Start();
        }
    } catch (...) {
        EndServing();  // those that run would wait for a request for ever
        throw;
    }
}

CTileLoadQueue2::~CTileLoadQueue2() {
    EndServing();
    for (auto& worker : m_workers) {
        worker->Stop();
        while (!worker->IsFinished() && !worker->Abandon()) {
            worker->Stop();
        }
        if (!worker->IsFinished()) {
            // The thread is stuck inside the provider or the slot: neither it nor the provider may
            // be deleted under it, and its code must stay in memory.
            m_provider->Detach();
            PinThisModule();
            static_cast<void>(worker.release());
        }
    }
    m_workers.clear();
    CSingleLock lock(&m_lock, TRUE);
    ClearLocked();
}

void CTileLoadQueue2::EndServing() {
    {
        CSingleLock lock(&m_lock, TRUE);
        m_paused = true;
        ClearLocked();
    }
    ::WakeAllConditionVariable(&m_changed);
}

bool CTileLoadQueue2::Push(const CString& mapName, std::int32_t layerNumber, const CString& key,
                           CSize tileSize, bool ahead) {
    bool held = false;
    {
        CSingleLock lock(&m_lock, TRUE);
        held = m_holds > 0;
        std::string folded = FoldCase(ViewOf(key));
        if (m_byKey.find(folded) == m_byKey.end()) {
            Requests& list = ahead ? m_ahead : m_requests;
            list.push_back({mapName, layerNumber, key, tileSize, ahead, m_serial});
            m_byKey.emplace(std::move(folded), std::prev(list.end()));
            m_failed.Remove(key);
        }
    }
    if (m_policy.fast && !held) {
        ::WakeConditionVariable(&m_changed);
    }
    return true;
}

tagTILE_LOAD_REQUEST CTileLoadQueue2::Pop() {
    Requests taken;
    CSingleLock lock(&m_lock, TRUE);
    return PopLocked(taken);
}

tagTILE_LOAD_REQUEST CTileLoadQueue2::PopLocked(Requests& taken) {
    if (m_paused || m_holds > 0) {
        return {};
    }
    AskAgainLocked();
    // What lies ahead waits until the view is complete.
    Requests& list = IsViewWaitingLocked() ? m_requests : m_ahead;
    if (list.empty()) {
        return {};
    }
    tagTILE_LOAD_REQUEST request = list.front();
    m_byKey.erase(FoldCase(ViewOf(request.strKey)));
    taken.splice(taken.end(), list, list.begin());
    return request;
}

bool CTileLoadQueue2::IsViewWaitingLocked() const {
    return !m_requests.empty() || std::any_of(m_fetching.begin(), m_fetching.end(),
                                              [](const auto& request) { return !request.ahead; });
}

bool CTileLoadQueue2::NoteDelivered(const tagTILE_LOAD_REQUEST& request) {
    CSingleLock lock(&m_lock, TRUE);
    const auto fetched = FindFetchedLocked(request);
    if (fetched == m_fetching.end() || fetched->ahead) {
        return false;
    }
    fetched->delivered = true;
    return m_requests.empty() &&
           std::all_of(m_fetching.begin(), m_fetching.end(),
                       [](const auto& each) { return each.ahead || each.delivered; });
}

// A key may be fetched again while its stale request still is.
CTileLoadQueue2::Requests::iterator CTileLoadQueue2::FindFetchedLocked(
    const tagTILE_LOAD_REQUEST& request) {
    return std::find_if(m_fetching.begin(), m_fetching.end(), [&](const auto& each) {
        return each.serial == request.serial && each.strKey == request.strKey;
    });
}

/// Queues what failed and is due.
void CTileLoadQueue2::AskAgainLocked() {
    const ULONGLONG now = ::GetTickCount64();
    for (;;) {
        Requests due{m_failed.Take(now)};
        if (due.front().strKey.IsEmpty()) {
            return;
        }
        // It may have been pushed anew while it was being fetched.
        if (m_byKey.emplace(FoldCase(ViewOf(due.front().strKey)), due.begin()).second) {
            m_requests.splice(m_requests.end(), due);
        }
    }
}

/// How long a thread may sleep that found nothing to do.
DWORD CTileLoadQueue2::WaitLocked() const {
    const std::uint64_t due = m_failed.NextDue();
    const std::uint64_t now = ::GetTickCount64();
    if (m_holds > 0 || due == CFailedRequests::kNever) {
        return INFINITE;
    }
    constexpr std::uint64_t kLongest = 60000;
    return due > now ? static_cast<DWORD>(std::min(due - now, kLongest)) : 0;
}

tagTILE_LOAD_REQUEST CTileLoadQueue2::Next() {
    CSingleLock lock(&m_lock, TRUE);
    tagTILE_LOAD_REQUEST request = PopLocked(m_fetching);
    while (m_policy.fast && !m_paused && request.strKey.IsEmpty()) {
        ::SleepConditionVariableCS(&m_changed, m_lock, WaitLocked());
        request = PopLocked(m_fetching);
    }
    return request;
}

void CTileLoadQueue2::Done(const tagTILE_LOAD_REQUEST& request, bool failed) {
    bool wakes = false;
    {
        CSingleLock lock(&m_lock, TRUE);
        wakes = NoteLocked(request, failed);
    }
    if (wakes) {
        ::WakeAllConditionVariable(&m_changed);
    }
}

/// Whether threads that found nothing to do are to look again.
bool CTileLoadQueue2::NoteLocked(const tagTILE_LOAD_REQUEST& request, bool failed) {
    const auto fetched = FindFetchedLocked(request);
    if (fetched == m_fetching.end()) {
        return false;
    }
    Requests done;
    done.splice(done.end(), m_fetching, fetched);
    bool wakes = !m_ahead.empty() && !IsViewWaitingLocked();
    if (failed && m_policy.fast) {
        try {
            m_failed.Add(done.front(), ::GetTickCount64(), m_policy.retryDelays);
            wakes = true;
        } catch (const std::bad_alloc&) {
            // It is not asked for again.
        }
    }
    return wakes;
}

CTileLoadQueue2::CHold::CHold(CTileLoadQueue2& queue) : m_queue(queue) {
    m_queue.Hold(1);
}

CTileLoadQueue2::CHold::~CHold() {
    m_queue.Hold(-1);
}

void CTileLoadQueue2::Hold(int change) {
    if (m_policy.fast) {
        {
            CSingleLock lock(&m_lock, TRUE);
            m_holds += change;
        }
        if (change < 0) {
            ::WakeAllConditionVariable(&m_changed);
        }
    }
}

bool CTileLoadQueue2::MoveToFront(const CString& key) {
    bool wasAhead = false;
    {
        CSingleLock lock(&m_lock, TRUE);
        const auto found = m_byKey.find(FoldCase(ViewOf(key)));
        if (found != m_byKey.end()) {
            Requests& list = ListOf(*found->second);
            wasAhead = std::exchange(found->second->ahead, false);
            m_requests.splice(m_requests.begin(), list, found->second);
        }
    }
    if (wasAhead) {
        ::WakeConditionVariable(&m_changed);  // it had to wait; now it may be taken
    }
    return true;
}

CTileLoadQueue2::Requests& CTileLoadQueue2::ListOf(const tagTILE_LOAD_REQUEST& request) {
    return request.ahead ? m_ahead : m_requests;
}

void CTileLoadQueue2::Arrange(const Ranks& ranks) {
    {
        CSingleLock lock(&m_lock, TRUE);
        ArrangeLocked(ranks);
    }
    // What waited behind a view that was not complete may be of the view, or the only one left.
    ::WakeAllConditionVariable(&m_changed);
}

void CTileLoadQueue2::ArrangeLocked(const Ranks& ranks) {
    Requests all;
    all.splice(all.end(), m_requests);
    all.splice(all.end(), m_ahead);
    for (auto at = all.begin(); at != all.end();) {
        const auto request = at++;
        const auto rank = ranks.find(request->strKey);
        if (rank == ranks.end()) {
            m_byKey.erase(FoldCase(ViewOf(request->strKey)));
            all.erase(request);
        } else {
            request->ahead = !rank->second.visible;
            request->distance = rank->second.distance;
            Requests& list = ListOf(*request);
            list.splice(list.end(), all, request);
        }
    }
    const auto nearer = [](const tagTILE_LOAD_REQUEST& a, const tagTILE_LOAD_REQUEST& b) {
        return a.distance < b.distance;
    };
    m_requests.sort(nearer);
    m_ahead.sort(nearer);
    m_failed.Arrange(ranks);
    // The view waits for what it shows now: one slow tile of the former must not hold up the rest.
    for (tagTILE_LOAD_REQUEST& request : m_fetching) {
        const auto rank = ranks.find(request.strKey);
        request.ahead = rank == ranks.end() || !rank->second.visible;
    }
}

bool CTileLoadQueue2::Clear() {
    CSingleLock lock(&m_lock, TRUE);
    ClearLocked();
    ++m_serial;
    return true;
}

bool CTileLoadQueue2::IsStale(const tagTILE_LOAD_REQUEST& request) {
    CSingleLock lock(&m_lock, TRUE);
    return request.serial != m_serial;
}

// Pausing happens only where the lock cannot be had, which a critical section never refuses: the
// tiles go on loading while the user holds the mouse button. Hosts rely on it, so this test must
// not be turned round.
void CTileLoadQueue2::Pause() {
    CSingleLock lock(&m_lock);
    if (!lock.Lock()) {
        m_paused = true;
    }
}

void CTileLoadQueue2::Resume() {
    CSingleLock lock(&m_lock);
    if (!lock.Lock()) {
        m_paused = false;
    }
}

void CTileLoadQueue2::ClearLocked() {
    m_requests.clear();
    m_ahead.clear();
    m_fetching.clear();
    m_failed.Clear();
    m_byKey.clear();
}

}  // namespace Terrascope

#include "terrascope/tiles/TileLoadQueue2.h"

#include <iterator>
#include <utility>

#include "terrascope/tiles/TileLoadThread.h"

namespace Terrascope {

namespace {

constexpr int kWorkerCount = 2;

/// What two keys that differ only in case have in common.
std::string FoldedKey(const CString& key) {
    for (const char* p = key.GetString(); *p != '\0'; ++p) {
        if (*p < '0' || *p > '9') {
            CString lower(key);
            lower.MakeLower();
            return lower.GetString();
        }
    }
    return key.GetString();
}

/// Keeps the code of this module in memory until the process ends.
void PinThisModule() {
    HMODULE module = nullptr;
    ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<LPCSTR>(&PinThisModule), &module);
}

}  // namespace

CTileLoadQueue2::CTileLoadQueue2(ITileLoadedSlot* slot, CTileMapInfoProviderWrapper* provider)
    : m_slot(slot), m_provider(provider) {
    // None may run before all are there: a failure here destroys the queue under it.
    for (int i = 0; i < kWorkerCount; ++i) {
        m_workers.push_back(std::make_unique<CTileLoadThread>(m_slot, m_provider, this));
    }
    for (const auto& worker : m_workers) {
        worker->Start();
    }
}

CTileLoadQueue2::~CTileLoadQueue2() {
    {
        CSingleLock lock(&m_lock, TRUE);
        m_paused = true;
        ClearLocked();
    }
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

bool CTileLoadQueue2::Push(const CString& mapName, std::int32_t layerNumber, const CString& key,
                           CSize tileSize) {
    CSingleLock lock(&m_lock, TRUE);
    std::string folded = FoldedKey(key);
    if (m_byKey.find(folded) == m_byKey.end()) {
        m_requests.push_back({mapName, layerNumber, key, tileSize, m_serial});
        m_byKey.emplace(std::move(folded), std::prev(m_requests.end()));
    }
    return true;
}

tagTILE_LOAD_REQUEST CTileLoadQueue2::Pop() {
    CSingleLock lock(&m_lock, TRUE);
    if (m_paused || m_requests.empty()) {
        return {};
    }
    tagTILE_LOAD_REQUEST request = std::move(m_requests.front());
    m_requests.pop_front();
    m_byKey.erase(FoldedKey(request.strKey));
    return request;
}

bool CTileLoadQueue2::MoveToFront(const CString& key) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_byKey.find(FoldedKey(key));
    if (found != m_byKey.end()) {
        m_requests.splice(m_requests.begin(), m_requests, found->second);
    }
    return true;
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
    m_byKey.clear();
}

}  // namespace Terrascope

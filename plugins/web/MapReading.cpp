#include "plugins/web/MapReading.h"

#include <algorithm>
#include <list>

#include "plugins/common/WithoutThrowing.h"
#include "plugins/web/DataPath.h"
#include "plugins/web/MapDocument.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {
namespace {

constexpr Milliseconds kFirstWait = 6000;
constexpr Milliseconds kLaterWait = 1000;
constexpr Milliseconds kRetry = 30'000;
constexpr Milliseconds kFresh = 300'000;  // five minutes
constexpr Milliseconds kClockStep = 20;   // the clock has steps of 16 ms
constexpr std::size_t kMostReadings = 16;

Milliseconds Now() {
    return static_cast<Milliseconds>(::GetTickCount64());
}

bool SameAccess(const HttpIdentity& a, const HttpIdentity& b) {
    return a.headers == b.headers && a.onlySecure == b.onlySecure;
}

}  // namespace

std::shared_ptr<CMapReading> CMapReading::OfProcess(const std::string& dataPath,
                                                    const HttpIdentity& identity) {
    // Never destroyed, as their threads may not have ended.
    static CCriticalSection* const lock = new CCriticalSection;
    static auto* const readings = new std::list<std::shared_ptr<CMapReading>>;
    CSingleLock hold(lock, TRUE);
    auto found = std::find_if(readings->begin(), readings->end(), [&](const auto& reading) {
        return reading->m_dataPath == dataPath && SameAccess(reading->m_access.identity, identity);
    });
    if (found == readings->end()) {
        found = readings->insert(
            found,
            std::make_shared<CMapReading>(dataPath, WebAccess{HttpFetcher::OfProcess(), identity}));
    }
    readings->splice(readings->begin(), *readings, found);
    if (readings->size() > kMostReadings) {
        readings->pop_back();
    }
    return readings->front();
}

CMapReading::CMapReading(std::string dataPath, const WebAccess& access)
    : m_dataPath(std::move(dataPath)),
      m_access(access),
      m_library(std::make_shared<WebLibrary>()) {}

void CMapReading::Begin() {
    if (DataPath::Parse(m_dataPath).IsTemplate()) {
        Read();  // needs no server
        return;
    }
    auto self = std::make_unique<std::shared_ptr<CMapReading>>(shared_from_this());
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_isReading) {
            return;
        }
        m_isReading = true;
        m_isLogged = false;
        m_start = Now();
        ::ResetEvent(m_idle.Get());
    }
    // HttpSession pins the module before a thread enters it.
    if (HttpSession() != nullptr && ::TrySubmitThreadpoolCallback(&Run, self.get(), nullptr)) {
        static_cast<void>(self.release());
        return;
    }
    CSingleLock lock(&m_lock, TRUE);
    m_hasSucceeded = false;
    m_isReading = false;
    ::SetEvent(m_idle.Get());
}

void CMapReading::BeginIfFailed() {
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_isReading || m_hasSucceeded ||
            Now() - m_end < (m_library->empty() ? kRetry : kFresh)) {
            return;
        }
    }
    Begin();
}

void CMapReading::BeginIfOld() {
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_hasSucceeded && Now() - m_end < kFresh) {
            return;
        }
    }
    Begin();
}

void CALLBACK CMapReading::Run(PTP_CALLBACK_INSTANCE instance, void* context) {
    ::CallbackMayRunLong(instance);
    const std::unique_ptr<std::shared_ptr<CMapReading>> self(
        static_cast<std::shared_ptr<CMapReading>*>(context));
    (*self)->Read();
}

void CMapReading::Read() {
    struct Reading {
        std::shared_ptr<const WebLibrary> library;
        bool isComplete = false;
    };
    Reading read = WithoutThrowing<Reading>("WebTileMapInfoProvider", [this] {
        ReadMapsResult maps = ReadMaps(m_dataPath, m_access, m_never);
        return Reading{std::make_shared<WebLibrary>(std::move(maps.maps)), maps.isComplete};
    });
    CSingleLock lock(&m_lock, TRUE);
    m_hasSucceeded = read.isComplete;
    m_hasEverSucceeded = m_hasEverSucceeded || read.isComplete;
    if (read.library != nullptr && (read.isComplete || m_library->empty())) {
        m_library = std::move(read.library);
    }
    ++m_readings;
    m_end = Now();
    m_isReading = false;
    ::SetEvent(m_idle.Get());
}

void CMapReading::WaitUntil(Milliseconds end, const Cancellation& cancellation) {
    const HANDLE handles[] = {m_idle.Get(), cancellation.Event()};
    ::WaitForMultipleObjects(
        2, handles, FALSE,
        static_cast<DWORD>(std::clamp<Milliseconds>(end - Now(), 0, kFirstWait)));
}

void CMapReading::LogIfLate() {
    {
        CSingleLock lock(&m_lock, TRUE);
        if (!m_isReading || m_isLogged || Now() - m_start < kFirstWait - kClockStep) {
            return;
        }
        m_isLogged = true;
    }
    const auto address = HttpAddress::Parse(DataPath::Parse(m_dataPath).address);
    LogLine("'%s' has not answered in full within %d s; it is still being read",
            address ? address->ForLog().c_str() : "", static_cast<int>(kFirstWait / 1000));
}

std::shared_ptr<const WebLibrary> CMapReading::Library(const Cancellation& cancellation) {
    Milliseconds end = 0;
    {
        CSingleLock lock(&m_lock, TRUE);
        if (m_isReading && m_library->empty()) {
            end = m_start + (m_readings == 0 ? kFirstWait : kLaterWait);
        }
    }
    if (end > 0) {
        WaitUntil(end, cancellation);
        LogIfLate();
    }
    CSingleLock lock(&m_lock, TRUE);
    return m_library;
}

std::shared_ptr<const WebLibrary> CMapReading::LibraryNow() {
    CSingleLock lock(&m_lock, TRUE);
    return m_hasEverSucceeded ? m_library : nullptr;
}

bool CMapReading::Await(const Cancellation& cancellation) {
    WaitUntil(Now() + kFirstWait, cancellation);
    LogIfLate();
    CSingleLock lock(&m_lock, TRUE);
    return m_hasSucceeded && !m_isReading;
}

}  // namespace Terrascope::Plugins

#pragma once

#include <afxmt.h>

#include <memory>
#include <optional>
#include <string>

#include "plugins/web/WebMap.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// The maps of one data path, read in the background: nobody but he who needs the very first
/// answer waits for a server. Kept for the process, so that each display and dialog finds what was
/// read before.
///
/// Threads: any. Reading happens on a thread of the system's pool, without a lock. The first one
///          keeps this module in the process: the thread may outlive all users of the plug-in.
class CMapReading : public std::enable_shared_from_this<CMapReading> {
public:
    /// The reading of a data path (UTF-8) with these headers; of the 16 used last.
    static std::shared_ptr<CMapReading> OfProcess(const std::string& dataPath,
                                                  const HttpIdentity& identity);

    CMapReading(std::string dataPath, const WebAccess& access);

    /// Starts to read, unless that is going on.
    void Begin();
    /// The same, unless the maps were read within the last five minutes.
    void BeginIfOld();

    /// The maps as they were read last; when they never were, waits for the reading that is going
    /// on until six seconds after its start (one second, if one has failed before). Never null.
    std::shared_ptr<const WebLibrary> Library(const Cancellation& cancellation);

    /// The maps without waiting; null as long as no reading has succeeded.
    std::shared_ptr<const WebLibrary> LibraryNow();

    /// Starts to read when the last reading failed, half a minute ago or more (five, if there are
    /// maps): the server may be back. Does not wait.
    void BeginIfFailed();

    /// Waits for the reading that is going on, up to six seconds; whether the last one that ended
    /// succeeded, and none is going on.
    bool Await(const Cancellation& cancellation);

private:
    static void CALLBACK Run(PTP_CALLBACK_INSTANCE instance, void* context);
    void Read();
    void WaitUntil(Milliseconds end, const Cancellation& cancellation);
    /// Logs, once for each reading, that it takes longer than the first wait.
    void LogIfLate();

    const std::string m_dataPath;
    const WebAccess m_access;
    const Cancellation m_never;
    CUniqueHandle<HANDLE, &::CloseHandle> m_idle{::CreateEventW(nullptr, TRUE, TRUE, nullptr)};
    CCriticalSection m_lock;
    bool m_isReading TERRASCOPE_GUARDED_BY(m_lock) = false;
    bool m_hasSucceeded TERRASCOPE_GUARDED_BY(m_lock) = false;  ///< the last one that ended
    bool m_hasEverSucceeded TERRASCOPE_GUARDED_BY(m_lock) = false;
    bool m_isLogged TERRASCOPE_GUARDED_BY(m_lock) = false;  ///< that the reading is late
    int m_readings TERRASCOPE_GUARDED_BY(m_lock) = 0;       ///< that ended
    Milliseconds m_start TERRASCOPE_GUARDED_BY(m_lock) = 0;
    Milliseconds m_end TERRASCOPE_GUARDED_BY(m_lock) = 0;
    std::shared_ptr<const WebLibrary> m_library TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope::Plugins

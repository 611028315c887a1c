#pragma once

#include <afx.h>
#include <afxmt.h>

#include <cstdint>
#include <map>
#include <string>

#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Which tiles are not asked for again yet: for a minute after a failure. Threads: any.
class CRetryPauses {
public:
    bool MayTry(const std::string& tile);
    void NoteFailure(const std::string& tile);

private:
    CCriticalSection m_lock;
    std::map<std::string, std::uint64_t> m_ends
        TERRASCOPE_GUARDED_BY(m_lock);  ///< GetTickCount64's
};

}  // namespace Terrascope::Plugins

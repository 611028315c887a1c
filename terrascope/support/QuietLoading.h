#pragma once

#include <windows.h>

namespace Terrascope {

/// While it lives, a broken library makes the load fail on this thread instead of showing the
/// system's message box, which would stop the host, perhaps while the loader lock is held.
class QuietLoading {
public:
    QuietLoading() { ::SetThreadErrorMode(SEM_FAILCRITICALERRORS, &m_former); }
    ~QuietLoading() { ::SetThreadErrorMode(m_former, nullptr); }
    QuietLoading(const QuietLoading&) = delete;
    QuietLoading& operator=(const QuietLoading&) = delete;

private:
    DWORD m_former = 0;
};

}  // namespace Terrascope

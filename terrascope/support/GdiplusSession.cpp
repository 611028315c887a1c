#include "terrascope/support/GdiplusSession.h"

#include <afx.h>

#include "terrascope/support/GdiPlus.h"

namespace Terrascope {

namespace {

struct Shared {
    SRWLOCK lock = SRWLOCK_INIT;
    int count = 0;        // guarded by lock
    ULONG_PTR token = 0;  // guarded by lock
};

// No constructor, no destructor: sessions may outlive this file's static objects.
constinit Shared g_shared;

class Guard {
public:
    Guard() { ::AcquireSRWLockExclusive(&g_shared.lock); }
    ~Guard() { ::ReleaseSRWLockExclusive(&g_shared.lock); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
};

}  // namespace

CGdiplusSession::CGdiplusSession() {
    const Guard guard;
    if (g_shared.count == 0) {
        const Gdiplus::GdiplusStartupInput input;
        if (Gdiplus::GdiplusStartup(&g_shared.token, &input, nullptr) != Gdiplus::Ok) {
            return;
        }
    }
    ++g_shared.count;
    m_bStarted = true;
}

CGdiplusSession::~CGdiplusSession() {
    if (!m_bStarted) {
        return;
    }
    const Guard guard;
    if (--g_shared.count == 0) {
        Gdiplus::GdiplusShutdown(g_shared.token);
        g_shared.token = 0;
    }
}

int CGdiplusSession::LiveCount() {
    const Guard guard;
    return g_shared.count;
}

}  // namespace Terrascope

#pragma once

#include "../Export.h"
#include "../core/Object.h"
#include "LockAttributes.h"

/// What CSingleLock can take.
class FRAMEWORK_API CSyncObject : public CObject {
public:
    /// Waits up to `timeout` milliseconds; FALSE when the object could not be taken.
    virtual BOOL Lock(DWORD timeout = INFINITE) = 0;
    virtual BOOL Unlock() = 0;
};

/// A lock within one process; the thread that holds it may take it again.
///
/// Errors: the constructor throws CResourceException when the system has no room for it.
class FRAMEWORK_API FRAMEWORK_CAPABILITY("lock") CCriticalSection : public CSyncObject {
public:
    CCriticalSection();
    ~CCriticalSection() override;

    operator CRITICAL_SECTION*() { return &m_sect; }

    /// Always waits without bound, whatever the timeout: so critical sections are documented.
    BOOL Lock(DWORD timeout = INFINITE) override FRAMEWORK_ACQUIRE();
    BOOL Unlock() override FRAMEWORK_RELEASE();

    CRITICAL_SECTION m_sect;
};

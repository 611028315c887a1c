#pragma once

#include "CriticalSection.h"

/// Holds a lock for the length of a scope. Unless it is taken at once, call Lock and look at
/// the result.
///
/// Borrows: the lock.
class FRAMEWORK_API FRAMEWORK_SCOPED_CAPABILITY CSingleLock {
public:
    explicit CSingleLock(CCriticalSection* object, BOOL initialLock = FALSE)
        FRAMEWORK_ACQUIRE(object);
    ~CSingleLock() FRAMEWORK_RELEASE();
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    // The scope counts as holding the lock from its start to its end, so that the analysis accepts
    // the usual form: CSingleLock lock(&m_lock); if (!lock.Lock()) return;
    BOOL Lock(DWORD timeout = INFINITE) FRAMEWORK_NO_THREAD_SAFETY_ANALYSIS;
    BOOL Unlock() FRAMEWORK_RELEASE();
    BOOL IsLocked() const { return m_locked; }

private:
    CCriticalSection* m_object;
    BOOL m_locked = FALSE;
};

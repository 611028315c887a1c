#include "SingleLock.h"

CSingleLock::CSingleLock(CCriticalSection* object, BOOL initialLock) : m_object(object) {
    if (initialLock) {
        Lock();
    }
}

CSingleLock::~CSingleLock() {
    Unlock();
}

BOOL CSingleLock::Lock(DWORD timeout) {
    m_locked = m_object->Lock(timeout);
    return m_locked;
}

BOOL CSingleLock::Unlock() {
    if (m_locked) {
        m_locked = !m_object->Unlock();
    }
    return !m_locked;
}

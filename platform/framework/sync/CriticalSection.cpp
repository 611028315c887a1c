#include "CriticalSection.h"

#include "../core/Exception.h"

CCriticalSection::CCriticalSection() {
    if (!::InitializeCriticalSectionAndSpinCount(&m_sect, 0)) {
        AfxThrowResourceException();
    }
}

CCriticalSection::~CCriticalSection() {
    ::DeleteCriticalSection(&m_sect);
}

BOOL CCriticalSection::Lock(DWORD) {
    ::EnterCriticalSection(&m_sect);
    return TRUE;
}

BOOL CCriticalSection::Unlock() {
    ::LeaveCriticalSection(&m_sect);
    return TRUE;
}

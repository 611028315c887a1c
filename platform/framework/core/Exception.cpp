#include "Exception.h"

#include <cstring>

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CMemoryException, CException)
IMPLEMENT_DYNAMIC(CResourceException, CException)
IMPLEMENT_DYNAMIC(CNotSupportedException, CException)
IMPLEMENT_DYNAMIC(CInvalidArgException, CException)
IMPLEMENT_DYNAMIC(CUserException, CException)
IMPLEMENT_DYNAMIC(COleException, CException)

namespace {

BOOL CopyMessage(LPSTR text, UINT size, LPCSTR message) {
    if (text == nullptr || size == 0) {
        return FALSE;
    }
    strncpy(text, message, size - 1);
    text[size - 1] = '\0';
    return TRUE;
}

}  // namespace

void CException::Delete() {
    if (m_autoDelete) {
        delete this;
    }
}

BOOL CException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    CopyMessage(text, size, "");
    return FALSE;
}

BOOL CMemoryException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    return CopyMessage(text, size, "Out of memory.");
}

BOOL CResourceException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    return CopyMessage(text, size, "A required resource was unavailable.");
}

BOOL CNotSupportedException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    return CopyMessage(text, size, "An unsupported operation was attempted.");
}

BOOL CInvalidArgException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    return CopyMessage(text, size, "An invalid argument was encountered.");
}

BOOL COleException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    if (text == nullptr || size == 0) {
        return FALSE;
    }
    text[0] = '\0';
    return FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                          static_cast<DWORD>(m_sc), 0, text, size, nullptr) != 0;
}

void AfxThrowMemoryException() {
    // Made beforehand: there may be no memory left for another.
    static CMemoryException exception(FALSE);
    throw &exception;
}

void AfxThrowResourceException() {
    throw new CResourceException;
}

void AfxThrowNotSupportedException() {
    throw new CNotSupportedException;
}

void AfxThrowInvalidArgException() {
    throw new CInvalidArgException;
}

void AfxThrowUserException() {
    throw new CUserException;
}

void AfxThrowOleException(HRESULT code) {
    auto* exception = new COleException;
    exception->m_sc = code;
    throw exception;
}

void AtlThrow(HRESULT code) {
    if (code == E_OUTOFMEMORY) {
        AfxThrowMemoryException();
    }
    AfxThrowOleException(code);
}

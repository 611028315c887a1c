#pragma once

#include "Object.h"

/// The root of the framework's exceptions. They are thrown as pointers: catch
/// `CException* exception` and end with `exception->Delete()`.
///
/// Owns: itself when made with `new` (autoDelete TRUE); Delete() then destroys the object.
class FRAMEWORK_API CException : public CObject {
    DECLARE_DYNAMIC(CException)
public:
    CException() = default;
    explicit CException(BOOL autoDelete) : m_autoDelete(autoDelete != FALSE) {}

    void Delete();

    /// Writes a text for the user into `text`, at most `size` bytes with the terminator.
    /// Returns FALSE, and an empty text, when there is none.
    virtual BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const;

private:
    bool m_autoDelete = true;
};

/// Out of memory. The framework throws one that exists beforehand.
class FRAMEWORK_API CMemoryException : public CException {
    DECLARE_DYNAMIC(CMemoryException)
public:
    using CException::CException;
    BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const override;
};

/// The system could not give or find a resource: a handle, a lock, a template.
class FRAMEWORK_API CResourceException : public CException {
    DECLARE_DYNAMIC(CResourceException)
public:
    using CException::CException;
    BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const override;
};

/// A request for something that the object does not offer.
class FRAMEWORK_API CNotSupportedException : public CException {
    DECLARE_DYNAMIC(CNotSupportedException)
public:
    using CException::CException;
    BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const override;
};

/// An argument outside the range that its function takes.
class FRAMEWORK_API CInvalidArgException : public CException {
    DECLARE_DYNAMIC(CInvalidArgException)
public:
    using CException::CException;
    BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const override;
};

/// Ends an operation that the user has been notified of; CWnd::UpdateData catches it.
class FRAMEWORK_API CUserException : public CException {
    DECLARE_DYNAMIC(CUserException)
public:
    using CException::CException;
};

/// A failed call whose reason is an HRESULT.
class FRAMEWORK_API COleException : public CException {
    DECLARE_DYNAMIC(COleException)
public:
    using CException::CException;
    BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const override;

    HRESULT m_sc = S_OK;
};

[[noreturn]] FRAMEWORK_API void AfxThrowMemoryException();
[[noreturn]] FRAMEWORK_API void AfxThrowResourceException();
[[noreturn]] FRAMEWORK_API void AfxThrowNotSupportedException();
[[noreturn]] FRAMEWORK_API void AfxThrowInvalidArgException();
[[noreturn]] FRAMEWORK_API void AfxThrowUserException();
[[noreturn]] FRAMEWORK_API void AfxThrowOleException(HRESULT code);

/// E_OUTOFMEMORY becomes a CMemoryException, any other code a COleException that carries it.
[[noreturn]] FRAMEWORK_API void AtlThrow(HRESULT code);

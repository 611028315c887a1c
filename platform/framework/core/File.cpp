#include "File.h"

IMPLEMENT_DYNAMIC(CFile, CObject)

CFile::CFile(LPCSTR fileName, UINT openFlags) {
    CFileException error;
    if (!CFile::Open(fileName, openFlags, &error))
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
}

CFile::~CFile() {
    if (m_hFile != INVALID_HANDLE_VALUE)
        ::CloseHandle(m_hFile);
}

BOOL CFile::Open(LPCSTR fileName, UINT openFlags, CFileException* error) {
    if (m_hFile != INVALID_HANDLE_VALUE)
        CFile::Close();
    m_strFileName = fileName;

    DWORD access = GENERIC_READ;
    if ((openFlags & 3) == modeWrite)
        access = GENERIC_WRITE;
    else if ((openFlags & 3) == modeReadWrite)
        access = GENERIC_READ | GENERIC_WRITE;

    DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
    switch (openFlags & 0x70) {
        case shareExclusive:
        case shareCompat:
            share = 0;
            break;
        case shareDenyWrite:
            share = FILE_SHARE_READ;
            break;
        case shareDenyRead:
            share = FILE_SHARE_WRITE;
            break;
        default:
            break;
    }

    DWORD creation = OPEN_EXISTING;
    if (openFlags & modeCreate)
        creation = (openFlags & modeNoTruncate) ? OPEN_ALWAYS : CREATE_ALWAYS;

    m_hFile =
        ::CreateFileA(fileName, access, share, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (m_hFile != INVALID_HANDLE_VALUE)
        return TRUE;
    if (error) {
        error->m_lOsError = static_cast<LONG>(::GetLastError());
        error->m_cause = CFileException::OsErrorToException(error->m_lOsError);
        error->m_strFileName = fileName;
    }
    return FALSE;
}

void CFile::Close() {
    const HANDLE file = m_hFile;
    m_hFile = INVALID_HANDLE_VALUE;
    if (file != INVALID_HANDLE_VALUE && !::CloseHandle(file))
        ThrowLastError();
}

UINT CFile::Read(void* buffer, UINT count) {
    DWORD read = 0;
    if (count != 0 && !::ReadFile(m_hFile, buffer, count, &read, nullptr))
        ThrowLastError();
    return read;
}

void CFile::Write(const void* buffer, UINT count) {
    DWORD written = 0;
    if (count == 0)
        return;
    if (!::WriteFile(m_hFile, buffer, count, &written, nullptr))
        ThrowLastError();
    if (written != count)
        AfxThrowFileException(CFileException::diskFull, -1, m_strFileName);
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
    LARGE_INTEGER distance;
    LARGE_INTEGER position;
    distance.QuadPart = offset;
    if (!::SetFilePointerEx(m_hFile, distance, &position, from))
        ThrowLastError();
    return static_cast<ULONGLONG>(position.QuadPart);
}

ULONGLONG CFile::GetPosition() const {
    LARGE_INTEGER position;
    if (!::SetFilePointerEx(m_hFile, {}, &position, FILE_CURRENT))
        ThrowLastError();
    return static_cast<ULONGLONG>(position.QuadPart);
}

ULONGLONG CFile::GetLength() const {
    LARGE_INTEGER length;
    if (!::GetFileSizeEx(m_hFile, &length))
        ThrowLastError();
    return static_cast<ULONGLONG>(length.QuadPart);
}

void CFile::SetLength(ULONGLONG length) {
    Seek(static_cast<LONGLONG>(length), begin);
    if (!::SetEndOfFile(m_hFile))
        ThrowLastError();
}

void CFile::Flush() {
    if (m_hFile != INVALID_HANDLE_VALUE && !::FlushFileBuffers(m_hFile))
        ThrowLastError();
}

void CFile::ThrowLastError() const {
    const auto code = static_cast<LONG>(::GetLastError());
    AfxThrowFileException(CFileException::OsErrorToException(code), code, m_strFileName);
}

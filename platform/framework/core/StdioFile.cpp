#include "StdioFile.h"

#include <fcntl.h>
#include <io.h>

#include <cstring>

IMPLEMENT_DYNAMIC(CStdioFile, CFile)

CStdioFile::CStdioFile(LPCSTR fileName, UINT openFlags) {
    CFileException error;
    if (!CStdioFile::Open(fileName, openFlags, &error))
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
}

CStdioFile::~CStdioFile() {
    if (m_pStream) {
        std::fclose(m_pStream);
        m_hFile = INVALID_HANDLE_VALUE;
    }
}

BOOL CStdioFile::Open(LPCSTR fileName, UINT openFlags, CFileException* error) {
    if (m_pStream)
        CStdioFile::Close();
    if (!CFile::Open(fileName, openFlags & ~UINT{typeText | typeBinary}, error))
        return FALSE;
    const bool binary = (openFlags & typeBinary) != 0;
    const UINT access = openFlags & 3;
    const int flags = (binary ? _O_BINARY : _O_TEXT) | (access == modeRead ? _O_RDONLY : _O_RDWR);
    const int descriptor = ::_open_osfhandle(reinterpret_cast<intptr_t>(m_hFile), flags);
    const char* mode = access == modeRead    ? (binary ? "rb" : "rt")
                       : access == modeWrite ? (binary ? "wb" : "wt")
                                             : (binary ? "r+b" : "r+t");
    if (descriptor != -1)
        m_pStream = ::_fdopen(descriptor, mode);
    if (m_pStream)
        return TRUE;
    if (descriptor != -1)
        ::_close(descriptor);
    else
        ::CloseHandle(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
    if (error) {
        error->m_cause = CFileException::tooManyOpenFiles;
        error->m_strFileName = fileName;
    }
    return FALSE;
}

void CStdioFile::Close() {
    FILE* stream = m_pStream;
    m_pStream = nullptr;
    m_hFile = INVALID_HANDLE_VALUE;
    if (stream && std::fclose(stream) != 0)
        AfxThrowFileException(CFileException::diskFull, -1, m_strFileName);
}

UINT CStdioFile::Read(void* buffer, UINT count) {
    const std::size_t read = std::fread(buffer, 1, count, m_pStream);
    if (read < count && std::ferror(m_pStream))
        ThrowStreamError();
    return static_cast<UINT>(read);
}

void CStdioFile::Write(const void* buffer, UINT count) {
    if (std::fwrite(buffer, 1, count, m_pStream) != count)
        ThrowStreamError();
}

ULONGLONG CStdioFile::Seek(LONGLONG offset, UINT from) {
    if (::_fseeki64(m_pStream, offset, static_cast<int>(from)) != 0)
        AfxThrowFileException(CFileException::badSeek, -1, m_strFileName);
    return GetPosition();
}

ULONGLONG CStdioFile::GetPosition() const {
    const auto position = ::_ftelli64(m_pStream);
    if (position < 0)
        AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
    return static_cast<ULONGLONG>(position);
}

void CStdioFile::Flush() {
    if (m_pStream && std::fflush(m_pStream) != 0)
        ThrowStreamError();
}

void CStdioFile::WriteString(LPCSTR text) {
    if (std::fputs(text, m_pStream) == EOF)
        ThrowStreamError();
}

BOOL CStdioFile::ReadString(CString& line) {
    line.Empty();
    char part[512];
    bool any = false;
    while (std::fgets(part, sizeof(part), m_pStream)) {
        any = true;
        const std::size_t length = std::strlen(part);
        if (length > 0 && part[length - 1] == '\n') {
            line.Append(part, static_cast<int>(length - 1));
            return TRUE;
        }
        line.Append(part, static_cast<int>(length));
    }
    if (std::ferror(m_pStream))
        ThrowStreamError();
    return any;
}

void CStdioFile::ThrowStreamError() const {
    AfxThrowFileException(CFileException::genericException, static_cast<LONG>(::GetLastError()),
                          m_strFileName);
}

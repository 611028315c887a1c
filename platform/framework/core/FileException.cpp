#include "FileException.h"

#include <cstdio>

IMPLEMENT_DYNAMIC(CFileException, CException)

BOOL CFileException::GetErrorMessage(LPSTR text, UINT size, UINT*) const {
    const int length = std::snprintf(text, size, "%s: file error %d (system error %ld).",
                                     m_strFileName.IsEmpty() ? "file" : m_strFileName.GetString(),
                                     m_cause, m_lOsError);
    return length >= 0;
}

int CFileException::OsErrorToException(LONG osError) {
    switch (osError) {
        case ERROR_SUCCESS:
            return none;
        case ERROR_FILE_NOT_FOUND:
            return fileNotFound;
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_NETPATH:
            return badPath;
        case ERROR_TOO_MANY_OPEN_FILES:
            return tooManyOpenFiles;
        case ERROR_ACCESS_DENIED:
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
            return accessDenied;
        case ERROR_INVALID_HANDLE:
            return invalidFile;
        case ERROR_SEEK:
        case ERROR_NEGATIVE_SEEK:
            return badSeek;
        case ERROR_SHARING_VIOLATION:
            return sharingViolation;
        case ERROR_LOCK_VIOLATION:
            return lockViolation;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return diskFull;
        case ERROR_HANDLE_EOF:
            return endOfFile;
        default:
            return genericException;
    }
}

void AfxThrowFileException(int cause, LONG osError, LPCSTR fileName) {
    throw new CFileException(cause, osError, fileName);
}

#pragma once

#include "Exception.h"
#include "String.h"

/// A file operation that failed.
class FRAMEWORK_API CFileException : public CException {
    DECLARE_DYNAMIC(CFileException)
public:
    enum {
        none,
        genericException,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    explicit CFileException(int cause = none, LONG osError = -1, LPCSTR fileName = nullptr)
        : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

    BOOL GetErrorMessage(LPSTR text, UINT size, UINT* helpContext = nullptr) const override;

    /// The cause that a code of GetLastError stands for.
    static int OsErrorToException(LONG osError);

    int m_cause;
    LONG m_lOsError;
    CString m_strFileName;
};

[[noreturn]] FRAMEWORK_API void AfxThrowFileException(int cause, LONG osError = -1,
                                                      LPCSTR fileName = nullptr);

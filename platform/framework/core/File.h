#pragma once

#include "FileException.h"

/// A file without buffering.
///
/// Owns:   the handle; the destructor closes it.
/// Errors: Open answers FALSE and fills the exception that it is given; everything else throws
///         CFileException.
class FRAMEWORK_API CFile : public CObject {
    DECLARE_DYNAMIC(CFile)
public:
    enum OpenFlags {
        modeRead = 0x00000,
        modeWrite = 0x00001,
        modeReadWrite = 0x00002,
        shareCompat = 0x00000,
        shareExclusive = 0x00010,
        shareDenyWrite = 0x00020,
        shareDenyRead = 0x00030,
        shareDenyNone = 0x00040,
        modeNoInherit = 0x00080,
        modeCreate = 0x01000,
        modeNoTruncate = 0x02000,
        typeText = 0x04000,
        typeBinary = 0x08000
    };
    enum SeekPosition { begin = 0, current = 1, end = 2 };

    CFile() = default;
    /// Throws CFileException when the file cannot be opened.
    CFile(LPCSTR fileName, UINT openFlags);
    ~CFile() override;

    virtual BOOL Open(LPCSTR fileName, UINT openFlags, CFileException* error = nullptr);
    virtual void Close();

    /// Up to `count` bytes; fewer at the end of the file.
    virtual UINT Read(void* buffer, UINT count);
    virtual void Write(const void* buffer, UINT count);
    /// The new position from the file's beginning.
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    virtual ULONGLONG GetPosition() const;
    virtual ULONGLONG GetLength() const;
    virtual void SetLength(ULONGLONG length);
    virtual void Flush();

    void SeekToBegin() { Seek(0, begin); }
    ULONGLONG SeekToEnd() { return Seek(0, end); }

    HANDLE m_hFile = INVALID_HANDLE_VALUE;

protected:
    [[noreturn]] void ThrowLastError() const;

    CString m_strFileName;
};

#pragma once

#include <cstdio>

#include "File.h"

/// A buffered file, by default in text mode: a line feed is CR LF on disk, and CR LF reads as a
/// line feed.
class FRAMEWORK_API CStdioFile : public CFile {
    DECLARE_DYNAMIC(CStdioFile)
public:
    CStdioFile() = default;
    CStdioFile(LPCSTR fileName, UINT openFlags);
    ~CStdioFile() override;

    BOOL Open(LPCSTR fileName, UINT openFlags, CFileException* error = nullptr) override;
    void Close() override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetPosition() const override;
    void Flush() override;

    virtual void WriteString(LPCSTR text);
    /// The next line without its line feed; FALSE at the end of the file.
    virtual BOOL ReadString(CString& line);

    FILE* m_pStream = nullptr;

private:
    [[noreturn]] void ThrowStreamError() const;
};

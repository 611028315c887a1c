#pragma once

#include <vector>

#include "File.h"

/// A file in memory that grows in steps.
class FRAMEWORK_API CMemFile : public CFile {
    DECLARE_DYNAMIC(CMemFile)
public:
    /// `growBytes`: the step in which the memory grows.
    explicit CMemFile(UINT growBytes = 1024) : m_growBytes(growBytes) {}

    void Close() override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    /// Throws CFileException (badSeek) before the beginning; beyond the end is allowed.
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetPosition() const override { return m_position; }
    ULONGLONG GetLength() const override { return m_bytes.size(); }
    void SetLength(ULONGLONG length) override;
    void Flush() override {}

private:
    UINT m_growBytes;
    std::vector<BYTE> m_bytes;
    ULONGLONG m_position = 0;
};

#pragma once

#include <afx.h>

namespace Terrascope {

/// Owns a file's handle and closes it.
class CFileHandle {
public:
    explicit CFileHandle(HANDLE handle) : m_hFile(handle) {}
    ~CFileHandle() {
        if (IsOpen()) {
            ::CloseHandle(m_hFile);
        }
    }
    CFileHandle(const CFileHandle&) = delete;
    CFileHandle& operator=(const CFileHandle&) = delete;

    bool IsOpen() const { return m_hFile != INVALID_HANDLE_VALUE && m_hFile != nullptr; }
    HANDLE Get() const { return m_hFile; }

private:
    const HANDLE m_hFile;
};

}  // namespace Terrascope

#pragma once

#include <windows.h>

namespace Terrascope::Plugins {

/// Owns a handle of the kind for which INVALID_HANDLE_VALUE means none, and closes it with TClose.
template <auto TClose>
class UniqueHandle {
public:
    explicit UniqueHandle(HANDLE handle) : m_handle(handle) {}
    ~UniqueHandle() {
        if (IsOpen()) {
            TClose(m_handle);
        }
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

private:
    const HANDLE m_handle;
};

}  // namespace Terrascope::Plugins

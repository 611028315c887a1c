#pragma once

#include <windows.h>

#include <utility>

namespace Terrascope {

/// Owns a Win32 handle and closes it with `Close`. Null when it has none; not for handles whose
/// "none" is INVALID_HANDLE_VALUE.
template <class Handle, auto Close>
class CUniqueHandle {
public:
    CUniqueHandle() = default;
    explicit CUniqueHandle(Handle handle) : m_handle(handle) {}
    CUniqueHandle(CUniqueHandle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, nullptr)) {}
    CUniqueHandle& operator=(CUniqueHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        other.Reset();
        return *this;
    }
    ~CUniqueHandle() { Reset(); }

    void Reset() {
        if (m_handle != nullptr) {
            Close(std::exchange(m_handle, nullptr));
        }
    }
    Handle Get() const { return m_handle; }
    explicit operator bool() const { return m_handle != nullptr; }

private:
    Handle m_handle = nullptr;
};

inline void DeleteRegion(HRGN region) {
    ::DeleteObject(region);
}
using CRegionHandle = CUniqueHandle<HRGN, &DeleteRegion>;

}  // namespace Terrascope

#pragma once

#include <windows.h>

#include <type_traits>
#include <utility>

namespace Terrascope {

/// Owns a Win32 handle and closes it with `Close`. Null when it has none: INVALID_HANDLE_VALUE, as
/// CreateFile and FindFirstFile return it, becomes null.
template <class Handle, auto Close>
class CUniqueHandle {
public:
    CUniqueHandle() = default;
    explicit CUniqueHandle(Handle handle) : m_handle(IsNone(handle) ? nullptr : handle) {}
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
    static bool IsNone(Handle handle) {
        if constexpr (std::is_same_v<Handle, HANDLE>) {
            return handle == INVALID_HANDLE_VALUE;
        }
        return handle == nullptr;
    }

    Handle m_handle = nullptr;
};

using CFileHandle = CUniqueHandle<HANDLE, &::CloseHandle>;
using CFindHandle = CUniqueHandle<HANDLE, &::FindClose>;
using CBrushHandle = CUniqueHandle<HBRUSH, &::DeleteObject>;
using CBitmapHandle = CUniqueHandle<HBITMAP, &::DeleteObject>;
using CRegionHandle = CUniqueHandle<HRGN, &::DeleteObject>;
/// A context of CreateCompatibleDC; not one of GetDC.
using CMemoryDcHandle = CUniqueHandle<HDC, &::DeleteDC>;

/// Selects a GDI object into a device context and the former one back at the end.
///
/// Borrows: both; a null object selects nothing.
class CSelectedObject {
public:
    CSelectedObject(HDC dc, HGDIOBJ object)
        : m_dc(dc), m_former(object != nullptr ? ::SelectObject(dc, object) : nullptr) {}
    ~CSelectedObject() {
        if (m_former != nullptr) {
            ::SelectObject(m_dc, m_former);
        }
    }
    CSelectedObject(const CSelectedObject&) = delete;
    CSelectedObject& operator=(const CSelectedObject&) = delete;

private:
    const HDC m_dc;
    const HGDIOBJ m_former;
};

}  // namespace Terrascope

#pragma once

#include <afx.h>

namespace Terrascope {

/// Owns one reference to a COM object and releases it; may be null.
///
/// Requires: not null, for the arrow.
template <class Interface>
class CComRef {
public:
    explicit CComRef(Interface* object) : m_object(object) {}
    CComRef(const CComRef&) = delete;
    CComRef& operator=(const CComRef&) = delete;
    ~CComRef() {
        if (m_object != nullptr) {
            m_object->Release();
        }
    }

    Interface* Get() const { return m_object; }
    Interface* operator->() const {
        ASSERT(m_object != nullptr);
        return m_object;
    }
    explicit operator bool() const { return m_object != nullptr; }

private:
    Interface* m_object;
};

}  // namespace Terrascope

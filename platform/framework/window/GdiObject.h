#pragma once

#include "../Export.h"
#include "../core/HandleMember.h"
#include "../core/Object.h"

/// A GDI object.
///
/// Owns: the handle; the destructor deletes it.
class FRAMEWORK_API CGdiObject : public CObject {
public:
    CGdiObject() = default;
    ~CGdiObject() override { DeleteObject(); }

    HGDIOBJ GetSafeHandle() const { return m_hObject; }
    /// Takes a handle over; FALSE for null.
    BOOL Attach(HGDIOBJ object) { return Member::Attach(m_hObject, object); }
    HGDIOBJ Detach() { return Member::Detach(m_hObject); }
    BOOL DeleteObject() { return Member::Close(m_hObject); }

    HGDIOBJ m_hObject = nullptr;

private:
    using Member = HandleMember<HGDIOBJ, &::DeleteObject>;
};

class FRAMEWORK_API CFont : public CGdiObject {
public:
    BOOL CreateFontIndirect(const LOGFONTA* description) {
        return Attach(::CreateFontIndirectA(description));
    }
    operator HFONT() const { return static_cast<HFONT>(m_hObject); }
};

class FRAMEWORK_API CBrush : public CGdiObject {
public:
    CBrush() = default;
    explicit CBrush(COLORREF colour) { CreateSolidBrush(colour); }
    BOOL CreateSolidBrush(COLORREF colour) { return Attach(::CreateSolidBrush(colour)); }
    operator HBRUSH() const { return static_cast<HBRUSH>(m_hObject); }
};

#pragma once

#include "../Export.h"
#include "../core/HandleMember.h"
#include "../core/Object.h"

/// A menu.
///
/// Owns: the handle; the destructor destroys it. Detach first what belongs to a window.
class FRAMEWORK_API CMenu : public CObject {
public:
    CMenu() = default;
    ~CMenu() override { DestroyMenu(); }

    HMENU m_hMenu = nullptr;

    HMENU GetSafeHmenu() const { return m_hMenu; }
    BOOL Attach(HMENU menu) { return Member::Attach(m_hMenu, menu); }
    HMENU Detach() { return Member::Detach(m_hMenu); }
    BOOL CreateMenu() { return Attach(::CreateMenu()); }
    BOOL CreatePopupMenu() { return Attach(::CreatePopupMenu()); }
    BOOL DestroyMenu() { return Member::Close(m_hMenu); }

private:
    using Member = HandleMember<HMENU, &::DestroyMenu>;
};

#pragma once

#include "../Export.h"
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
    BOOL Attach(HMENU menu);
    HMENU Detach();
    BOOL CreateMenu() { return Attach(::CreateMenu()); }
    BOOL CreatePopupMenu() { return Attach(::CreatePopupMenu()); }
    BOOL DestroyMenu();
};

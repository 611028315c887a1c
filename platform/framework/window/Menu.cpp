#include "Menu.h"

BOOL CMenu::Attach(HMENU menu) {
    m_hMenu = menu;
    return menu != nullptr;
}

HMENU CMenu::Detach() {
    const HMENU menu = m_hMenu;
    m_hMenu = nullptr;
    return menu;
}

BOOL CMenu::DestroyMenu() {
    const HMENU menu = Detach();
    return menu != nullptr && ::DestroyMenu(menu);
}

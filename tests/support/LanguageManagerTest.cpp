#include "terrascope/support/LanguageManager.h"

#include <gtest/gtest.h>

#include "TempFolder.h"
#include "terrascope/support/Paths.h"

namespace Terrascope {
namespace {

class LanguageManager : public testing::Test {
protected:
    void Load(const char* text) {
        EXPECT_TRUE(manager.LoadLanguageFile(folder.Write("a.lang", text)));
    }

    const TempFolder folder;
    CLanguageManager manager;
};

class Window {
public:
    Window(const char* text, HWND parent, int id)
        : m_hWnd(::CreateWindowExA(0, "STATIC", text, parent != nullptr ? WS_CHILD : WS_POPUP, 0, 0,
                                   50, 20, parent, reinterpret_cast<HMENU>(INT_PTR{id}), nullptr,
                                   nullptr)) {}
    ~Window() { ::DestroyWindow(m_hWnd); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    HWND Handle() const { return m_hWnd; }
    CString Text() const {
        char text[100] = "";
        ::GetWindowTextA(m_hWnd, text, sizeof(text));
        return text;
    }

private:
    const HWND m_hWnd;
};

TEST_F(LanguageManager, TakesStringsFromTheFileThenFromTheResources) {
    EXPECT_EQ(manager.GetString(500), "one\ntwo\tthree\r");
    EXPECT_FALSE(manager.LoadLanguageFile(folder.Path("none.lang")));
    EXPECT_EQ(manager.GetString(501), "from the resources");

    Load("[STRINGTABLE]\n500=\\tnew\\\\n\n501=\n502= x\n[stringtable]\n503=y");
    EXPECT_EQ(manager.GetString(500), "\tnew\\\n");
    EXPECT_EQ(manager.GetStdString(501), "from the resources") << "an empty value is no text";
    EXPECT_EQ(manager.GetString(502), " x");
    EXPECT_EQ(manager.GetString(503), "") << "sections are told apart by case";
    EXPECT_TRUE(manager.HasText("STRINGTABLE", "501"));
    EXPECT_EQ(manager.ReadText("STRINGTABLE", "500"), "\\tnew\\\\n");
}

TEST_F(LanguageManager, TranslatesADialogAndItsDirectChildren) {
    Load("[DIALOG_12]\n-1=Caption\n3=a\\tb\n4=\n6=deep\n[dialog_12]\n5=other case");
    const Window dialog("old", nullptr, 0);
    const Window known("old", dialog.Handle(), 3);
    const Window emptied("old", dialog.Handle(), 4);
    const Window unknown("old", dialog.Handle(), 5);
    const Window nameless("old", dialog.Handle(), -1);
    const Window grandchild("old", known.Handle(), 6);

    manager.TranslateDialog(CWnd::FromHandle(dialog.Handle()), 12);
    EXPECT_EQ(dialog.Text(), "Caption");
    EXPECT_EQ(known.Text(), "a\\tb") << "dialog texts have no escapes";
    EXPECT_EQ(emptied.Text(), "");
    EXPECT_EQ(unknown.Text(), "old");
    EXPECT_EQ(nameless.Text(), "Caption") << "shares the caption's key";
    EXPECT_EQ(grandchild.Text(), "old");
    EXPECT_FALSE(manager.TranslateWindowText(CWnd::FromHandle(known.Handle()), "DIALOG_12", "9"));
    manager.TranslateDialog(nullptr, 12);
}

CString MenuText(HMENU menu, UINT position) {
    char text[100] = "";
    ::GetMenuStringA(menu, position, text, sizeof(text), MF_BYPOSITION);
    return text;
}

TEST_F(LanguageManager, TranslatesAMenuOfThreeLevels) {
    const auto add = [](HMENU menu, UINT flags, UINT_PTR id) {
        ::AppendMenuA(menu, MF_STRING | flags, id, "old");
    };
    HMENU top = ::CreateMenu();
    HMENU first = ::CreatePopupMenu();
    HMENU second = ::CreatePopupMenu();
    HMENU nested = ::CreatePopupMenu();
    HMENU deepest = ::CreatePopupMenu();
    add(deepest, 0, 30);
    add(nested, MF_CHECKED, 20);
    add(nested, MF_POPUP, reinterpret_cast<UINT_PTR>(deepest));
    add(first, MF_GRAYED, 10);
    ::AppendMenuA(first, MF_SEPARATOR, 0, nullptr);
    add(first, MF_POPUP, reinterpret_cast<UINT_PTR>(nested));
    add(second, 0, 40);
    add(top, 0, 50);
    add(top, MF_POPUP, reinterpret_cast<UINT_PTR>(first));
    add(top, MF_POPUP, reinterpret_cast<UINT_PTR>(second));

    // Captions only where nothing below is looked at: a system may drop what is below a changed
    // caption.
    Load(
        "[MENU_8]\n10=ten\\t10\n20=twenty\n0_0_0=deepest\n30=thirty\n1=second\n50=fifty\n0_1=no\n2="
        "no");
    CMenu menu;
    menu.Attach(top);
    manager.TranslateMenu(&menu, 8);
    EXPECT_EQ(MenuText(top, 0), "fifty");
    EXPECT_EQ(MenuText(top, 1), "old");
    EXPECT_EQ(MenuText(top, 2), "second") << "commands do not count among the popups";
    EXPECT_EQ(MenuText(first, 0), "ten\t10");
    EXPECT_EQ(MenuText(first, 2), "old");
    EXPECT_EQ(MenuText(nested, 0), "twenty");
    EXPECT_EQ(MenuText(nested, 1), "deepest");
    const UINT grayed = ::GetMenuState(first, 0, MF_BYPOSITION);
    EXPECT_EQ(grayed & (MF_GRAYED | MF_DISABLED), UINT{MF_GRAYED | MF_DISABLED});
    EXPECT_EQ(::GetMenuItemID(first, 0), 10U);
    EXPECT_EQ(::GetMenuState(nested, 0, MF_BYPOSITION) & MF_CHECKED, 0U);
    manager.TranslateMenu(nullptr, 8);
}

TEST_F(LanguageManager, LoadsTheLibrarysFileOnce) {
    EXPECT_EQ(CLanguageManager::GetModuleName(), "Terrascope");
    EXPECT_EQ(CLanguageManager::GetModuleFolder(), ModuleFolder(nullptr));
    EXPECT_FALSE(manager.LoadLanguage("No such language"));
    CLanguageManager* instance = CLanguageManager::GetInstance();
    EXPECT_EQ(instance->GetString(1010), "Name");
    EXPECT_EQ(CLanguageManager::GetInstance(), instance);
    CLanguageManager::ReleaseInstance();
    CLanguageManager::ReleaseInstance();
}

}  // namespace
}  // namespace Terrascope

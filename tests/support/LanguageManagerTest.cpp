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

struct Window : CWnd {
    Window(const char* text, CWnd* parent, UINT id) {
        CreateEx(0, "STATIC", text, parent != nullptr ? WS_CHILD : WS_POPUP, CRect(0, 0, 9, 9),
                 parent, id);
    }
    ~Window() override { DestroyWindow(); }
    CString Text() const {
        CString text;
        GetWindowText(text);
        return text;
    }
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
}

TEST_F(LanguageManager, TranslatesADialogAndItsDirectChildren) {
    Load("[DIALOG_12]\n-1=Caption\n3=a\\tb\n4=\n6=deep\n[dialog_12]\n5=other case");
    Window dialog("old", nullptr, 0);
    Window known("old", &dialog, 3);
    Window emptied("old", &dialog, 4);
    Window unknown("old", &dialog, 5);
    Window nameless("old", &dialog, static_cast<UINT>(-1));
    Window grandchild("old", &known, 6);
    manager.TranslateDialog(&dialog, 12);
    EXPECT_EQ(dialog.Text(), "Caption");
    EXPECT_EQ(known.Text(), "a\\tb") << "dialog texts have no escapes";
    EXPECT_EQ(emptied.Text(), "");
    EXPECT_EQ(unknown.Text(), "old");
    EXPECT_EQ(nameless.Text(), "Caption") << "shares the caption's key";
    EXPECT_EQ(grandchild.Text(), "old");
    EXPECT_FALSE(manager.TranslateWindowText(&known, "DIALOG_12", "9"));
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
    EXPECT_EQ(MenuText(nested, 0), "twenty");
    EXPECT_EQ(MenuText(nested, 1), "deepest");
    const UINT grayed = ::GetMenuState(first, 0, MF_BYPOSITION);
    EXPECT_EQ(grayed & (MF_GRAYED | MF_DISABLED), UINT{MF_GRAYED | MF_DISABLED});
    EXPECT_EQ(::GetMenuState(nested, 0, MF_BYPOSITION) & MF_CHECKED, 0U);
}

TEST_F(LanguageManager, LoadsTheLibrarysFileOnce) {
    EXPECT_EQ(CLanguageManager::GetModuleName(), "Terrascope");
    EXPECT_EQ(CLanguageManager::GetModuleFolder(), ModuleFolder(nullptr));
    EXPECT_FALSE(manager.LoadLanguage("No such language"));
    CLanguageManager* instance = CLanguageManager::GetInstance();
    EXPECT_EQ(instance->GetString(1010), "Name");
    EXPECT_EQ(CLanguageManager::GetInstance(), instance);
    CLanguageManager::ReleaseInstance();
}

}  // namespace
}  // namespace Terrascope

#include "terrascope/support/ui/LanguageManager.h"

#include <gtest/gtest.h>

#include "terrascope/support/files/Paths.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace Terrascope {
namespace {

class LanguageManager : public testing::Test {
protected:
    void Load(const char* text) {
        EXPECT_TRUE(manager.LoadLanguageFile(folder.WriteFile("a.lang", text).c_str()));
    }
    const TerrascopeTest::TemporaryFolder folder{TerrascopeTest::FolderName::Awkward};
    CLanguageManager manager;
};

struct Window : CWnd {
    Window(CWnd* parent, UINT id) {
        CreateEx(0, "STATIC", "old", parent != nullptr ? WS_CHILD : WS_POPUP, CRect(0, 0, 9, 9),
                 parent, id);
    }
    CString Text() const {
        CString text;
        GetWindowText(text);
        return text;
    }
};

TEST_F(LanguageManager, TakesStringsFromTheFileThenFromTheResources) {
    EXPECT_FALSE(manager.LoadLanguageFile((folder / "none.lang").c_str()));
    EXPECT_EQ("one\ntwo\tthree\r", manager.GetString(500));
    Load("[STRINGTABLE]\n500=\\tnew\\\\n\n501=\n502= x\n[stringtable]\n503=y");
    EXPECT_EQ("\tnew\\\n", manager.GetString(500));
    EXPECT_EQ("from the resources", manager.GetStdString(501)) << "an empty value is no text";
    EXPECT_EQ(" x", manager.GetString(502));
    EXPECT_EQ("", manager.GetString(503)) << "sections are told apart by case";
    EXPECT_EQ(ModuleFolder(nullptr), CLanguageManager::GetModuleFolder());
}

TEST_F(LanguageManager, TranslatesADialogAndItsDirectChildren) {
    Load("[DIALOG_12]\n-1=Caption\n3=a\\tb\n4=\n6=deep\n[dialog_12]\n5=other case");
    Window dialog(nullptr, 0);
    Window known(&dialog, 3), emptied(&dialog, 4), unknown(&dialog, 5);
    Window nameless(&dialog, static_cast<UINT>(-1)), grandchild(&known, 6);
    manager.TranslateDialog(&dialog, 12);
    EXPECT_EQ("Caption", dialog.Text());
    EXPECT_EQ("a\\tb", known.Text()) << "dialog texts have no escapes";
    EXPECT_EQ("Caption", nameless.Text()) << "shares the caption's key";
    EXPECT_EQ("oldold", emptied.Text() + unknown.Text() + grandchild.Text());
}

TEST_F(LanguageManager, TranslatesAMenuOfThreeLevels) {
    CMenu menu;
    const HMENU first = ::CreatePopupMenu(), second = ::CreatePopupMenu();
    const HMENU nested = ::CreatePopupMenu(), top = ::CreateMenu();
    const auto add = [](HMENU to, UINT flags, auto entry) {
        ::AppendMenuA(to, flags, (UINT_PTR)entry, "old");
    };
    add(nested, MF_CHECKED, 20);
    add(nested, MF_POPUP, ::CreatePopupMenu());
    add(first, MF_GRAYED, 10);
    add(first, MF_SEPARATOR, 0);
    add(first, MF_POPUP, nested);
    add(top, 0, 50);
    add(top, MF_POPUP, first);
    add(top, MF_POPUP, second);
    menu.Attach(top);
    // Captions only where nothing below is looked at: a system may drop what is below a changed
    // caption.
    Load("[MENU_8]\n10=ten\\t10\n20=twenty\n0_0_0=deepest\n1=second\n50=fifty\n0_1=no\n2=no");
    manager.TranslateMenu(&menu, 8);
    const auto text = [](HMENU of, UINT position) {
        char buffer[100] = "";
        ::GetMenuStringA(of, position, buffer, sizeof(buffer), MF_BYPOSITION);
        return CString(buffer) + ";";
    };
    EXPECT_EQ("fifty;old;second;", text(top, 0) + text(top, 1) + text(top, 2));
    EXPECT_EQ("ten\t10;twenty;deepest;", text(first, 0) + text(nested, 0) + text(nested, 1));
    const UINT grayed = ::GetMenuState(first, 0, MF_BYPOSITION);
    EXPECT_EQ(UINT{MF_GRAYED | MF_DISABLED}, grayed & (MF_GRAYED | MF_DISABLED));
    EXPECT_EQ(0U, ::GetMenuState(nested, 0, MF_BYPOSITION) & MF_CHECKED);
}

}  // namespace
}  // namespace Terrascope

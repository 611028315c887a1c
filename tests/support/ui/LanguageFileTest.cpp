#include <afx.h>
#include <commctrl.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "terrascope/resources/resource.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "terrascope/support/ui/LanguageManager.h"

namespace Terrascope {
namespace {

/// The conversions and line feeds of a text, in their order.
std::string Skeleton(const std::string& text) {
    static const std::regex part("%[-+0-9.]*[a-z]|\n");
    std::string skeleton;
    for (std::sregex_iterator at(text.begin(), text.end(), part), end; at != end; ++at) {
        skeleton += at->str();
    }
    return skeleton;
}

// The language file that is delivered, against the resources that are linked into this program.
TEST(LanguageFile, HasEachTextOfTheResourcesWithTheSameConversions) {
    std::set<std::string> wanted{"DIALOG_7007 -1"};
    const HMODULE program = ::GetModuleHandleA(nullptr);
    for (UINT id = 1; id <= 0xFFFF; ++id) {
        char text[256] = "";
        if (::LoadStringA(program, id, text, sizeof(text)) > 0) {
            wanted.insert("STRINGTABLE " + std::to_string(id));
            EXPECT_EQ(Skeleton(text), Skeleton(CLanguageManager::GetInstance()->GetStdString(id)))
                << id;
        }
    }
    CLanguageManager::ReleaseInstance();

    ::InitCommonControls();
    ASSERT_NE(nullptr, ::LoadLibraryA("riched20.dll"));
    HWND dialog =
        ::CreateDialogParamW(program, MAKEINTRESOURCEW(IDD_TILE_MAP_SEL), nullptr, nullptr, 0);
    ASSERT_NE(nullptr, dialog);
    for (HWND child = ::GetWindow(dialog, GW_CHILD); child != nullptr;
         child = ::GetWindow(child, GW_HWNDNEXT)) {
        if (::GetWindowTextLengthW(child) > 0) {
            wanted.insert("DIALOG_7007 " + std::to_string(::GetDlgCtrlID(child)));
        }
    }
    ::DestroyWindow(dialog);

    CMemIniFile file(CLanguageManager::GetModuleFolder() + "\\language\\Terrascope.lang", true);
    std::set<std::string> offered;
    for (const CString& section : file.ReadSections()) {
        for (const CString& key : file.ReadSection(section)) {
            offered.insert((section + " " + key).GetString());
        }
    }
    EXPECT_EQ(wanted, offered);
}

}  // namespace
}  // namespace Terrascope

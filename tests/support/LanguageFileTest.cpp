#include <afx.h>
#include <commctrl.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "terrascope/resources/resource.h"
#include "terrascope/support/LanguageManager.h"
#include "terrascope/support/MemIniFile.h"

namespace Terrascope {
namespace {

/// The language file that is delivered, against the resources that are linked into this program.
class LanguageFile : public testing::Test {
protected:
    std::set<std::string> Keys(const char* section) {
        std::set<std::string> keys;
        for (const CString& key : file.ReadSection(section)) {
            keys.insert(key.GetString());
        }
        return keys;
    }

    CMemIniFile file{CLanguageManager::GetModuleFolder() + "\\language\\Terrascope.lang", true};
};

/// The conversions and line feeds of a text, in their order.
std::string Skeleton(const std::string& text) {
    static const std::regex part("%[-+0-9.]*[a-z]|\n");
    std::string skeleton;
    for (std::sregex_iterator at(text.begin(), text.end(), part), end; at != end; ++at) {
        skeleton += at->str();
    }
    return skeleton;
}

TEST_F(LanguageFile, HasEachStringWithTheSameConversions) {
    std::set<std::string> inResources;
    for (UINT id = 1; id <= 0xFFFF; ++id) {
        char text[256] = "";
        if (::LoadStringA(::GetModuleHandleA(nullptr), id, text, sizeof(text)) > 0) {
            inResources.insert(std::to_string(id));
            EXPECT_EQ(Skeleton(CLanguageManager::GetInstance()->GetStdString(id)), Skeleton(text))
                << id;
        }
    }
    CLanguageManager::ReleaseInstance();
    EXPECT_EQ(Keys("STRINGTABLE"), inResources);
    EXPECT_EQ(file.ReadSections(), (std::vector<CString>{"DIALOG_7007", "STRINGTABLE"}));
}

TEST_F(LanguageFile, HasEachTextOfTheDialog) {
    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_LISTVIEW_CLASSES};
    ::InitCommonControlsEx(&controls);
    ASSERT_NE(::LoadLibraryA("riched20.dll"), nullptr);
    HWND dialog = ::CreateDialogParamW(::GetModuleHandleA(nullptr),
                                       MAKEINTRESOURCEW(IDD_TILE_MAP_SEL), nullptr, nullptr, 0);
    ASSERT_NE(dialog, nullptr);
    std::set<std::string> withText{"-1"};
    for (HWND child = ::GetWindow(dialog, GW_CHILD); child != nullptr;
         child = ::GetWindow(child, GW_HWNDNEXT)) {
        if (::GetWindowTextLengthW(child) > 0) {
            withText.insert(std::to_string(::GetDlgCtrlID(child)));
        }
    }
    ::DestroyWindow(dialog);
    EXPECT_EQ(Keys("DIALOG_7007"), withText);
}

}  // namespace
}  // namespace Terrascope

#include "terrascope/support/ui/CustomStatic.h"

#include <gtest/gtest.h>

#include "tests/fixtures/Await.h"
#include "tests/fixtures/TemporaryFolder.h"

namespace Terrascope {
namespace {

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kGreen = RGB(0, 255, 0);
constexpr COLORREF kBlue = RGB(0, 0, 255);

/// A real control in a real window, looked at by its pixels.
class CustomStatic : public testing::Test {
protected:
    CustomStatic() {
        EXPECT_TRUE(parent.CreateEx(0, AfxRegisterWndClass(0), "", WS_POPUP | WS_VISIBLE,
                                    CRect(0, 0, 300, 300), nullptr, 0));
    }
    void Create(const char* text, int width, int height, DWORD style = 0) {
        ASSERT_TRUE(control.Create("STATIC", text, WS_CHILD | WS_VISIBLE | style,
                                   CRect(0, 0, width, height), &parent, 1));
        control.SetTextColor(kRed);
        control.SetBkColor(kBlue);
    }
    /// Paints the control over a colour and counts the pixels of one from (x, y) on.
    int Painted(COLORREF colour, int x = 0, int y = 0, int width = 300, int height = 300) {
        CClientDC dc(&control);
        CRect client;
        control.GetClientRect(&client);
        dc.FillSolidRect(&client, kGreen);
        control.Invalidate(FALSE);
        control.UpdateWindow();
        int count = 0;
        for (int i = 0; i < width * height; ++i) {
            count += ::GetPixel(dc, x + i % width, y + i / width) == colour ? 1 : 0;
        }
        return count;
    }

    CWnd parent;
    CCustomStatic control;
    const COLORREF shadow = ::GetSysColor(COLOR_BTNSHADOW);
    const COLORREF highlight = ::GetSysColor(COLOR_BTNHIGHLIGHT);
};

TEST_F(CustomStatic, PaintsItsColoursAndFont) {
    Create("MMMM", 200, 60);
    const auto dialogFont = reinterpret_cast<WPARAM>(::GetStockObject(SYSTEM_FONT));
    control.SendMessage(WM_SETFONT, dialogFont);
    control.SetFontSize(10);
    EXPECT_EQ(1, Painted(kBlue, 199, 59, 1, 1));
    const int small = Painted(kRed);
    EXPECT_GT(small, 0);
    control.SetFontSize(40);
    EXPECT_GT(Painted(kRed), 2 * small);
    EXPECT_EQ(dialogFont, static_cast<WPARAM>(control.SendMessage(WM_GETFONT))) << "left alone";
}

TEST_F(CustomStatic, DrawsAnEtchedLineWithTheTextSetIn) {
    Create("", 100, 20);
    control.SetEtched(true);
    EXPECT_EQ(99, Painted(shadow, 0, 10, 99, 1)) << "without a text, the line only";
    EXPECT_EQ(200, Painted(shadow) + Painted(highlight));
    control.SetWindowText("MMM");
    EXPECT_EQ(0, Painted(shadow, 1, 10, 1, 1)) << "the text at the left blanks the line out";
    EXPECT_EQ(1, Painted(shadow, 98, 10, 1, 1));
    control.MoveWindow(0, 0, 20, 100);
    EXPECT_EQ(99, Painted(shadow, 10, 0, 1, 99)) << "upright";
    EXPECT_EQ(20 * 100 - 200, Painted(kGreen)) << "and without the text";
}

TEST_F(CustomStatic, GivesItsWindowWhatWasSetBefore) {
    control.SetBorder(true);
    control.SetSunken(true);
    control.SetNotify(false);
    control.SetLink("link");
    Create("older", 50, 20, SS_NOTIFY | SS_RIGHT);
    const auto expectSet = [&] {
        EXPECT_EQ(DWORD{WS_BORDER | SS_RIGHT},
                  control.GetStyle() & (WS_BORDER | SS_NOTIFY | SS_RIGHT));
        EXPECT_NE(0, ::GetWindowLongA(control.m_hWnd, GWL_EXSTYLE) & WS_EX_STATICEDGE);
        EXPECT_EQ(4, ::GetWindowTextLengthA(control.m_hWnd));
    };
    expectSet();
    control.DestroyWindow();
    const HWND ofADialog = ::CreateWindowA("STATIC", "older", WS_CHILD | SS_NOTIFY | SS_RIGHT, 0, 0,
                                           9, 9, parent.m_hWnd, nullptr, nullptr, nullptr);
    EXPECT_TRUE(control.SubclassWindow(ofADialog));
    expectSet();
}

TEST_F(CustomStatic, HandsItsTextToTheShellWhenClicked) {
    const TerrascopeTest::TemporaryFolder folder{TerrascopeTest::FolderName::Awkward};
    Create("", 50, 20);
    control.SetNotify(false);
    control.SetLink(folder.WriteFile("go.bat", "@copy \"%~f0\" \"%~dp0clicked\"\r\n").c_str());
    control.SendMessage(WM_LBUTTONDOWN, 0, 0);
    EXPECT_TRUE(TerrascopeTest::Await(
        [&] { return folder.ReadFile("clicked") == folder.ReadFile("go.bat"); }));
}

}  // namespace
}  // namespace Terrascope

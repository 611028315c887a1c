#include "terrascope/support/CustomStatic.h"

#include <gtest/gtest.h>

#include "TempFolder.h"
#include "tests/fixtures/Await.h"

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
    ~CustomStatic() override {
        control.DestroyWindow();
        parent.DestroyWindow();
    }

    void Create(const char* text, int width, int height, DWORD style = 0) {
        ASSERT_TRUE(control.Create("STATIC", text, WS_CHILD | WS_VISIBLE | style,
                                   CRect(0, 0, width, height), &parent, 1));
        control.SetTextColor(kRed);
        control.SetBkColor(kBlue);
    }
    /// Paints over whatever the control showed.
    void PaintOn(COLORREF colour) {
        CClientDC dc(&control);
        CRect client;
        control.GetClientRect(&client);
        dc.FillSolidRect(&client, colour);
        control.Invalidate(FALSE);
        control.UpdateWindow();
    }
    COLORREF Pixel(int x, int y) { return ::GetPixel(CClientDC(&control), x, y); }
    int Count(COLORREF colour) {
        CClientDC dc(&control);
        CRect client;
        control.GetClientRect(&client);
        int count = 0;
        for (int i = 0; i < client.Width() * client.Height(); ++i) {
            count += ::GetPixel(dc, i % client.Width(), i / client.Width()) == colour ? 1 : 0;
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
    PaintOn(kGreen);
    EXPECT_EQ(Pixel(199, 59), kBlue);
    const int small = Count(kRed);
    EXPECT_GT(small, 0);
    control.SetFontSize(40);
    const int large = Count(kRed);
    EXPECT_GT(large, 2 * small) << "a new font shows at once";
    control.SetFontUnderline(true);
    EXPECT_GT(Count(kRed), large);
    EXPECT_EQ(static_cast<WPARAM>(control.SendMessage(WM_GETFONT)), dialogFont) << "left alone";
}

TEST_F(CustomStatic, DrawsAnEtchedLineWithTheTextSetIn) {
    Create("", 100, 20);
    control.SetEtched(true);
    PaintOn(kGreen);
    EXPECT_EQ(Pixel(0, 10), shadow);
    EXPECT_EQ(Pixel(50, 10), shadow);
    EXPECT_EQ(Pixel(50, 11), highlight);
    EXPECT_EQ(Count(shadow) + Count(highlight), 200) << "without a text, the line only";

    control.SetWindowText("MMM");
    PaintOn(kGreen);
    EXPECT_NE(Pixel(1, 10), shadow) << "the text at the left blanks the line out";
    EXPECT_EQ(Pixel(98, 10), shadow);
    control.MoveWindow(0, 0, 20, 100);
    PaintOn(kGreen);
    EXPECT_EQ(Pixel(10, 50), shadow);
    EXPECT_EQ(Count(kGreen), 20 * 100 - 200) << "upright, and without the text";
}

TEST_F(CustomStatic, HandsItsTextToTheShellWhenClicked) {
    const TempFolder folder;
    Create("", 50, 20);
    control.SetNotify(false);
    control.SetLink("no such thing to open");
    control.SendMessage(WM_LBUTTONDOWN, 0, 0);
    const CString script = folder.Write("go.bat", "@copy \"%~f0\" \"%~dp0clicked\"\r\n");
    control.SetLink(script);
    control.SendMessage(WM_LBUTTONDOWN, 0, 0);
    EXPECT_TRUE(
        TerrascopeTest::Await([&] { return folder.Read("clicked") == folder.Read("go.bat"); }));
}

}  // namespace
}  // namespace Terrascope

// Host and plug-in with declarations of their own against the real Terrascope.dll.
#include <gtest/gtest.h>

#include <array>

#include "tests/api/LibraryInUse.h"
#include "tests/fixtures/Await.h"

namespace TerrascopeTest {
namespace {

std::string g_dialogTexts;
int g_looks = 0;

/// Collects all texts of the map selection dialog; accepts it when it shows a map, or after 5 s.
void CALLBACK LookAtDialog(HWND, UINT, UINT_PTR, DWORD) {
    const auto collect = [](HWND window, LPARAM) {
        char text[4000] = "";
        ::SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
        g_dialogTexts += text;
        return TRUE;
    };
    const HWND dialog = ::FindWindowA("#32770", nullptr);
    g_dialogTexts.clear();
    ::EnumChildWindows(dialog, collect, 0);
    if (g_dialogTexts.find("Layer4") != std::string::npos || ++g_looks > 500) {
        ::PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    }
}

class BinaryInterface : public testing::Test {
protected:
    ~BinaryInterface() override {
        EXPECT_EQ(0, library.Records().providers);
        EXPECT_EQ(0, library.Records().reserved) << "the library calls none of these";
    }

    LibraryInUse library;
};

TEST_F(BinaryInterface, EachFunctionOfADisplayIsInItsPlace) {
    const auto display = library.MakeDisplay();
    EXPECT_EQ(FALSE, display->OpenMap("unknown"));
    ASSERT_EQ(TRUE, display->OpenMap("lookalike"));
    EXPECT_EQ(std::pair(3, 4), display->LayerRange());
    EXPECT_EQ(CString("lookalike"), display->MapName());
    double left = 0, top = 0, right = 0, bottom = 0;
    EXPECT_EQ(TRUE, display->Extent(&left, &top, &right, &bottom));
    EXPECT_EQ((std::array{10.0, 60.0, 90.0, 20.0}), (std::array{left, top, right, bottom}));
    EXPECT_EQ(FALSE, display->SetLayer(5));
    ASSERT_EQ(TRUE, display->SetLayer(4));
    EXPECT_EQ(4, display->Layer());
    EXPECT_EQ(0, display->Slot9());
    EXPECT_EQ(TRUE, display->Slot16());

    // Layer 4: 512 x 128 pixels for 80 x 40 units.
    constexpr double kX = 80.0 / 512, kY = 40.0 / 128;
    display->SetViewSize({314, 251});  // 100 x 80 pixels
    display->SetViewOrigin({7, 5});
    display->SetCenter({50, 40});
    const auto expectAt = [&](int x, int y, double mapX, double mapY) {
        double doubleX = x, doubleY = y, gotX = 0, gotY = 0;
        EXPECT_EQ(TRUE, display->ConvertInt(&x, &y, &gotX, &gotY, 0));
        EXPECT_NEAR(mapX, gotX, 1e-4);
        EXPECT_NEAR(mapY, gotY, 1e-4);
        EXPECT_EQ(TRUE, display->Convert(&doubleX, &doubleY, &gotX, &gotY, 0));
        EXPECT_NEAR(mapX, gotX, 1e-4);
        EXPECT_NEAR(mapY, gotY, 1e-4);
    };
    expectAt(7 + 50, 5 + 40, 50, 40);
    EXPECT_EQ(TRUE, display->ConvertRect({7, 5, 107, 85}, &left, &top, &right, &bottom));
    EXPECT_NEAR(50 - 50 * kX, left, 1e-4);
    EXPECT_NEAR(40 + 40 * kY, top, 1e-4);
    EXPECT_NEAR(50 + 50 * kX, right, 1e-4);
    EXPECT_NEAR(40 - 40 * kY, bottom, 1e-4);

    // The tiles in their places: the view's middle is the corner of four.
    CDC dc;
    dc.CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = ::CreateBitmap(100, 80, 1, 32, nullptr);
    const HGDIOBJ former = ::SelectObject(dc.GetSafeHdc(), bitmap);
    ::SetMapMode(dc.GetSafeHdc(), MM_ANISOTROPIC);
    ::SetWindowExtEx(dc.GetSafeHdc(), 1000, 1000, nullptr);
    ::SetViewportExtEx(dc.GetSafeHdc(), 319, 319, nullptr);
    const auto painted = [&](int x, int y) {
        display->Draw(&dc);
        return ::GetPixel(dc.GetSafeHdc(), ::MulDiv(x, 1000, 319), ::MulDiv(y, 1000, 319));
    };
    EXPECT_TRUE(Await([&] { return painted(20, 20) == RGB(3 * 20 + 10, 1 * 20 + 10, 77); }));
    EXPECT_TRUE(Await([&] { return painted(80, 60) == RGB(4 * 20 + 10, 2 * 20 + 10, 77); }));
    ::SelectObject(dc.GetSafeHdc(), former);
    ::DeleteObject(bitmap);

    // A drag by (-10, 4): what follows the button's release moves nothing.
    EXPECT_NE(nullptr, display->SetTool(3));
    EXPECT_EQ(TRUE, display->SetCursor(nullptr, HTCLIENT, WM_MOUSEMOVE));
    display->MouseMove(0, {90, 70});
    display->ButtonDown(0, {60, 40});
    display->MouseMove(0, {50, 44});
    display->ButtonUp(0, {50, 44});
    display->MouseMove(0, {20, 20});
    expectAt(7 + 50, 5 + 40, 50 + 10 * kX, 40 + 4 * kY);

    EXPECT_FALSE(display->IsSwitching());
    display->SetTool(2);
    display->ButtonDown(0, {57, 45});
    display->ButtonUp(0, {57, 45});
    EXPECT_TRUE(display->IsSwitching());
    EXPECT_EQ(3, display->Layer());
}

TEST_F(BinaryInterface, EachFieldOfARecordIsInItsPlace) {
    EXPECT_TRUE(library.Assistant<bool(bool)>("12UpdateMapLibEb")(true));
    EXPECT_FALSE(library.Assistant<bool(bool)>("12UpdateMapLibEb")(false));
    CString name = "lookalike";
    int layer = 0;
    double scale = 0.55;
    const UINT_PTR timer = ::SetTimer(nullptr, 0, 10, &LookAtDialog);
    EXPECT_EQ(TRUE, library.Assistant<int(CString&, int&, double&)>("9SelectMapER7CStringRiRd")(
                        name, layer, scale));
    ::KillTimer(nullptr, timer);
    EXPECT_EQ(CString("lookalike"), name);
    EXPECT_EQ(3, layer);
    EXPECT_EQ(0.55, scale);
    std::size_t from = 0;
    for (const char* part :
         {"lookalike", "2023-11-28 13:14:15", "fmt", ":2", ":3", ":10.0", ":20.0", ":80.0", ":40.0",
          ":64", ":32", "a remark", "Layer3:", ":4", ":2", "Layer4:", ":8", ":4"}) {
        const std::size_t found = g_dialogTexts.find(part, from);
        EXPECT_NE(std::string::npos, found) << part << " after " << from << " in\n"
                                            << g_dialogTexts;
        from = found != std::string::npos ? found + 1 : from;
    }
}

}  // namespace
}  // namespace TerrascopeTest

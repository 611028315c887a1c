#include <afxwin.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr int kEdit = 10;
constexpr int kBoxText = 0xFFFF;  // the text's control in a message box
std::string g_boxes;              // the texts of the message boxes that were closed

BOOL CALLBACK CloseBox(HWND window, LPARAM) {
    char text[200] = "";
    if (::GetDlgItemTextA(window, kBoxText, text, sizeof(text)) > 0) {
        g_boxes += text;
        ::SendMessageA(window, WM_COMMAND, IDOK, 0);
    }
    return TRUE;
}

/// A window with an edit control that holds a number from 0.55 to 1.9, and with another.
class Form : public CWnd {
public:
    Form() {
        CreateEx(0, "STATIC", "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 100, 100), nullptr, 0);
        for (const int id : {kEdit, kEdit + 1})
            ::CreateWindowA("EDIT", "", WS_CHILD | WS_VISIBLE, 0, 0, 80, 20, m_hWnd,
                            reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), nullptr, nullptr);
        g_boxes.clear();
        ::SetTimer(m_hWnd, 1, 10, [](HWND, UINT, UINT_PTR, DWORD) {
            ::EnumThreadWindows(::GetCurrentThreadId(), &CloseBox, 0);
        });
    }

    std::string Text() const {
        char text[100] = "";
        ::GetDlgItemTextA(m_hWnd, kEdit, text, sizeof(text));
        return text;
    }

    double m_value = 1;

protected:
    void DoDataExchange(CDataExchange* exchange) override {
        DDX_Text(exchange, kEdit, m_value);
        DDV_MinMaxDouble(exchange, m_value, 0.55, 1.9);
    }
};

TEST(UpdateData, TakesNumbersInRangeAndPointsAtOthers) {
    const struct {
        const char* complaint;
        std::vector<const char*> typed;
    } cases[] = {
        {"", {"0.55", "1.9", " 1.5 ", "15e-1"}},
        {"Please enter a number between 0.55 and 1.9.", {"0.549999", "2", "-1"}},
        {"Please enter a number.", {"", "1,5", "1.5x", "nan", "1e999"}},
    };
    for (const auto& [complaint, texts] : cases) {
        for (const char* typed : texts) {
            SCOPED_TRACE(typed);
            Form form;
            ::SetDlgItemTextA(form.m_hWnd, kEdit, typed);
            ::SetFocus(::GetDlgItem(form.m_hWnd, kEdit + 1));
            const bool accepted = form.UpdateData(TRUE) != FALSE;
            EXPECT_EQ(g_boxes, complaint);
            EXPECT_EQ(accepted, g_boxes.empty());
            EXPECT_EQ(::GetDlgCtrlID(::GetFocus()), accepted ? kEdit + 1 : kEdit);
            EXPECT_EQ(form.Text(), typed);
            if (accepted)
                EXPECT_EQ(form.m_value, std::strtod(typed, nullptr));
            else  // selected
                EXPECT_EQ(::SendDlgItemMessageA(form.m_hWnd, kEdit, EM_GETSEL, 0, 0),
                          MAKELONG(0, strlen(typed)));
        }
    }
}

TEST(UpdateData, ShowsAValueAsItIsEvenOutOfRange) {
    Form form;
    for (const auto& [value, shown] :
         {std::pair{1.1, "1.1"}, {1.0 / 3, "0.333333333333333"}, {7.0, "7"}}) {
        form.m_value = value;
        EXPECT_TRUE(form.UpdateData(FALSE));
        EXPECT_EQ(form.Text(), shown);
    }
    EXPECT_EQ(g_boxes, "");
}

}  // namespace

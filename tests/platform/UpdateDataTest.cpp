#include <afxwin.h>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr int kEdit = 10;
constexpr int kBoxText = 0xFFFF;  // the text's control in a message box

/// Closes the message boxes of this thread and keeps their texts.
class BoxCloser {
public:
    BoxCloser() : m_timer(::SetTimer(nullptr, 0, 10, &OnTimer)) { s_texts.clear(); }
    ~BoxCloser() { ::KillTimer(nullptr, m_timer); }
    BoxCloser(const BoxCloser&) = delete;
    BoxCloser& operator=(const BoxCloser&) = delete;

    static std::string s_texts;

private:
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD) {
        ::EnumThreadWindows(::GetCurrentThreadId(), &Close, 0);
    }

    static BOOL CALLBACK Close(HWND window, LPARAM) {
        char text[200] = "";
        if (::GetDlgItemTextA(window, kBoxText, text, sizeof(text)) > 0) {
            s_texts += text;
            ::SendMessageA(window, WM_COMMAND, IDOK, 0);
        }
        return TRUE;
    }

    UINT_PTR m_timer;
};

std::string BoxCloser::s_texts;

/// A window with one edit control that holds a number from 0.55 to 1.9.
class Form : public CWnd {
public:
    Form() {
        Create("STATIC", "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 100, 100), nullptr, 0);
        m_edit = ::CreateWindowA("EDIT", "", WS_CHILD | WS_VISIBLE, 0, 0, 80, 20, m_hWnd,
                                 reinterpret_cast<HMENU>(kEdit), nullptr, nullptr);
        m_other = ::CreateWindowA("EDIT", "", WS_CHILD | WS_VISIBLE, 0, 30, 80, 20, m_hWnd, nullptr,
                                  nullptr, nullptr);
    }

    BOOL Create(LPCSTR className, LPCSTR title, DWORD style, const RECT& rect, CWnd* parent,
                UINT id) override {
        return CreateEx(0, className, title, style, rect, parent, id);
    }

    double m_value = 1;
    HWND m_edit = nullptr;
    HWND m_other = nullptr;

protected:
    void DoDataExchange(CDataExchange* exchange) override {
        DDX_Text(exchange, kEdit, m_value);
        DDV_MinMaxDouble(exchange, m_value, 0.55, 1.9);
    }
};

std::string EditText(const Form& form) {
    char text[100] = "";
    ::GetWindowTextA(form.m_edit, text, sizeof(text));
    return text;
}

struct TypedNumber {
    const char* typed;
    bool isNumber;
    bool isAccepted;

    friend void PrintTo(const TypedNumber& one, std::ostream* out) { *out << one.typed; }
};

class UpdateData : public testing::TestWithParam<TypedNumber> {};

TEST_P(UpdateData, TakesNumbersInRangeAndPointsAtOthers) {
    const auto [typed, isNumber, isAccepted] = GetParam();
    Form form;
    ASSERT_TRUE(form.m_edit);
    ::SetWindowTextA(form.m_edit, typed);
    ::SetFocus(form.m_other);

    const BoxCloser closer;
    EXPECT_EQ(form.UpdateData(TRUE) != FALSE, isAccepted);
    if (isAccepted) {
        EXPECT_EQ(form.m_value, std::strtod(typed, nullptr));
        EXPECT_EQ(BoxCloser::s_texts, "");
        EXPECT_EQ(::GetFocus(), form.m_other);
        return;
    }
    // One message of the right kind; the text stays, selected, with the focus.
    if (isNumber)
        EXPECT_NE(BoxCloser::s_texts.find("between 0.55 and 1.9"), std::string::npos);
    else
        EXPECT_EQ(BoxCloser::s_texts, "Please enter a number.");
    EXPECT_EQ(EditText(form), typed);
    EXPECT_EQ(::GetFocus(), form.m_edit);
    DWORD first = 1;
    DWORD end = 0;
    ::SendMessageA(form.m_edit, EM_GETSEL, reinterpret_cast<WPARAM>(&first),
                   reinterpret_cast<LPARAM>(&end));
    EXPECT_EQ(first, 0U);
    EXPECT_EQ(end, strlen(typed));
}

INSTANTIATE_TEST_SUITE_P(
    , UpdateData,
    testing::Values(TypedNumber{"0.55", true, true}, TypedNumber{"1.9", true, true},
                    TypedNumber{" 1.5 ", true, true}, TypedNumber{"15e-1", true, true},
                    TypedNumber{"0.549999", true, false}, TypedNumber{"2", true, false},
                    TypedNumber{"-1", true, false}, TypedNumber{"", false, false},
                    TypedNumber{"1,5", false, false}, TypedNumber{"1.5x", false, false},
                    TypedNumber{"nan", false, false}, TypedNumber{"1e999", false, false}),
    [](const auto& one) { return "Case" + std::to_string(one.index); });

TEST(UpdateDataShows, AValueAsItIsEvenOutOfRange) {
    Form form;
    const BoxCloser closer;
    for (const auto& [value, shown] :
         {std::pair{1.1, "1.1"}, {1.0, "1"}, {1.0 / 3, "0.333333333333333"}, {7.0, "7"}}) {
        form.m_value = value;
        EXPECT_TRUE(form.UpdateData(FALSE));
        EXPECT_EQ(EditText(form), shown);
    }
    EXPECT_EQ(BoxCloser::s_texts, "");
}

}  // namespace

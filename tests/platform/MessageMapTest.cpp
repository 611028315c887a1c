#include <afxcmn.h>
#include <afxwin.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

constexpr UINT kAsk = WM_USER + 1, kThrow = WM_USER + 2;

/// Writes down what its handlers are called with.
class Recorder : public CWnd {
public:
    BOOL Make() {
        return CreateEx(0, AfxRegisterWndClass(0), "", WS_POPUP, CRect(0, 0, 9, 9), nullptr, 0);
    }
    std::string Taken() { return std::exchange(m_log, {}); }

    bool m_throwsOnCreate = false;

protected:
    void Log(const char* format, auto... values) {
        CString line;
        line.Format(format, values...);
        m_log += line;
    }
    int OnCreate(LPCREATESTRUCT) {
        return m_throwsOnCreate ? throw std::runtime_error("expected") : 0;
    }
    BOOL OnMouseWheel(UINT keys, short turn, CPoint point) {
        Log("wheel %u %d %ld;", keys, turn, point.x);
        return TRUE;
    }
    LRESULT OnAsk(WPARAM wParam, LPARAM lParam) { return static_cast<int>(wParam) * 10 + lParam; }
    LRESULT OnThrow(WPARAM kind, LPARAM) {
        kind == 0   ? AfxThrowUserException()
        : kind == 1 ? throw std::runtime_error("expected")
                    : throw kind;
    }
    void OnRange(UINT id) { Log("range %u;", id); }
    void OnChanged(NMHDR*, LRESULT* result) { *result = 42; }
    DECLARE_MESSAGE_MAP()

private:
    std::string m_log;
};

BEGIN_MESSAGE_MAP(Recorder, CWnd)
ON_WM_CREATE()
ON_WM_MOUSEWHEEL()
ON_MESSAGE(kAsk, &Recorder::OnAsk)
ON_MESSAGE(kThrow, &Recorder::OnThrow)
ON_COMMAND_RANGE(110, 112, &Recorder::OnRange)
ON_NOTIFY(LVN_ITEMCHANGED, 130, &Recorder::OnChanged)
END_MESSAGE_MAP()

class MessageMap : public testing::Test {
protected:
    MessageMap() { window.Make(); }
    Recorder window;
};

TEST_F(MessageMap, UnpacksMessagesAndLetsNoExceptionOut) {
    window.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(MK_SHIFT, -120), MAKELPARAM(-1, 0));
    for (const WPARAM id : {109U, 110U, 112U, 113U}) {
        window.SendMessage(WM_COMMAND, id);
    }
    EXPECT_EQ("wheel 4 -120 -1;range 110;range 112;", window.Taken());
    for (const UINT id : {130U, 131U}) {
        NMHDR header{window.m_hWnd, id, static_cast<UINT>(LVN_ITEMCHANGED)};
        EXPECT_EQ(id == 130 ? 42 : 0,
                  window.SendMessage(WM_NOTIFY, id, reinterpret_cast<LPARAM>(&header)));
    }
    for (const WPARAM kind : {0, 1, 2}) {
        EXPECT_EQ(0, window.SendMessage(kThrow, kind)) << kind;
    }
    EXPECT_EQ(42, window.SendMessage(kAsk, 4, 2));
    Recorder failing;
    failing.m_throwsOnCreate = true;
    EXPECT_FALSE(failing.Make());
    EXPECT_EQ(nullptr, failing.m_hWnd);
}

}  // namespace

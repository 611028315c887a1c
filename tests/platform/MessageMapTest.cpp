#include <afxcmn.h>
#include <afxwin.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

namespace {

constexpr UINT kAsk = WM_USER + 1, kThrow = WM_USER + 2;

/// Writes down what its handlers are called with.
class Recorder : public CWnd {
public:
    BOOL Make() {
        return CreateEx(0, AfxRegisterWndClass(0), "", WS_POPUP, CRect(0, 0, 9, 9), nullptr, 0);
    }
    std::string Taken() { return std::exchange(m_log, {}); }

    std::string m_log;
    bool m_throwsOnCreate = false;
    int m_endings = 0;

protected:
    void Log(const char* format, auto... values) {
        CString line;
        line.Format(format, values...);
        m_log += line;
    }
    int OnCreate(LPCREATESTRUCT) {
        return m_throwsOnCreate ? throw std::runtime_error("expected") : 0;
    }
    void OnLButtonDown(UINT keys, CPoint point) { Log("down %u %ld %ld;", keys, point.x, point.y); }
    BOOL OnMouseWheel(UINT keys, short turn, CPoint point) {
        Log("wheel %u %d %ld;", keys, turn, point.x);
        return TRUE;
    }
    LRESULT OnAsk(WPARAM wParam, LPARAM lParam) { return static_cast<int>(wParam) * 10 + lParam; }
    LRESULT OnThrow(WPARAM kind, LPARAM) {
        if (kind == 0)
            AfxThrowUserException();
        if (kind == 1)
            throw std::runtime_error("expected");
        throw kind;
    }
    void OnOpen() { Log("open;"); }
    void OnRange(UINT id) { Log("range %u;", id); }
    void OnChanged(NMHDR*, LRESULT* result) { *result = 42; }
    void PostNcDestroy() override { ++m_endings; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(Recorder, CWnd)
ON_WM_CREATE()
ON_WM_LBUTTONDOWN()
ON_WM_MOUSEWHEEL()
ON_MESSAGE(kAsk, &Recorder::OnAsk)
ON_MESSAGE(kThrow, &Recorder::OnThrow)
ON_COMMAND(100, &Recorder::OnOpen)
ON_COMMAND_RANGE(110, 112, &Recorder::OnRange)
ON_BN_CLICKED(120, &Recorder::OnOpen)
ON_NOTIFY(LVN_ITEMCHANGED, 130, &Recorder::OnChanged)
END_MESSAGE_MAP()

/// Overrides one line of its base's map, and colours itself when its parent is asked to.
class Derived : public Recorder {
public:
    CBrush m_brush{RGB(1, 2, 3)};

protected:
    LRESULT OnAskMore(WPARAM, LPARAM) { return 2; }
    HBRUSH CtlColor(CDC* dc, UINT kind) {
        Log("colour %u;", kind);
        dc->SetBkColor(RGB(4, 5, 6));
        return m_brush;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(Derived, Recorder)
ON_MESSAGE(kAsk, &Derived::OnAskMore)
ON_WM_CTLCOLOR_REFLECT()
END_MESSAGE_MAP()

class MessageMap : public testing::Test {
protected:
    MessageMap() {
        window.Make();
        window.Taken();
    }
    HWND MakeChild(const char* kind, UINT id) {
        return ::CreateWindowA(kind, "old", WS_CHILD, 0, 0, 9, 9, window.m_hWnd,
                               reinterpret_cast<HMENU>(id), nullptr, nullptr);
    }
    Recorder window;
};

TEST_F(MessageMap, UnpacksWhatMessagesCarry) {
    window.SendMessage(WM_LBUTTONDOWN, MK_CONTROL, MAKELPARAM(-5, 7));
    window.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(MK_SHIFT, -120), MAKELPARAM(-1, 0));
    EXPECT_EQ(window.Taken(), "down 8 -5 7;wheel 4 -120 -1;");
    EXPECT_EQ(window.SendMessage(kAsk, 4, 2), 42);
}

TEST_F(MessageMap, CommandsGoByIdAndNotification) {
    const auto control = reinterpret_cast<LPARAM>(window.m_hWnd);
    window.SendMessage(WM_COMMAND, MAKEWPARAM(100, 1));  // an accelerator
    for (const WPARAM id : {100U, 109U, 110U, 112U, 113U})
        window.SendMessage(WM_COMMAND, id);
    for (const UINT code : {BN_CLICKED, BN_SETFOCUS})
        window.SendMessage(WM_COMMAND, MAKEWPARAM(120, code), control);
    EXPECT_EQ(window.Taken(), "open;open;range 110;range 112;open;");
    for (const UINT id : {130U, 131U}) {
        NMHDR header{window.m_hWnd, id, static_cast<UINT>(LVN_ITEMCHANGED)};
        EXPECT_EQ(window.SendMessage(WM_NOTIFY, id, reinterpret_cast<LPARAM>(&header)),
                  id == 130 ? 42 : 0);
    }
}

TEST_F(MessageMap, NoExceptionLeavesTheWindowProcedure) {
    for (const WPARAM kind : {0, 1, 2})
        EXPECT_EQ(window.SendMessage(kThrow, kind), 0) << kind;
    EXPECT_EQ(window.SendMessage(kAsk, 4, 2), 42);
    Recorder failing;
    failing.m_throwsOnCreate = true;
    EXPECT_FALSE(failing.Make());
    EXPECT_EQ(failing.m_hWnd, nullptr);
}

TEST_F(MessageMap, AControlsColourRequestComesBackToTheControl) {
    Derived control;
    MakeChild("STATIC", 7);
    ASSERT_TRUE(control.SubclassDlgItem(7, &window));
    CClientDC context(&control);
    LRESULT answer = 0;
    for (const HWND who : {MakeChild("STATIC", 8), control.m_hWnd})  // the first has no object
        answer = window.SendMessage(WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(context.m_hDC),
                                    reinterpret_cast<LPARAM>(who));
    EXPECT_EQ(answer, reinterpret_cast<LRESULT>(static_cast<HBRUSH>(control.m_brush)));
    EXPECT_EQ(::GetBkColor(context.m_hDC), RGB(4, 5, 6)) << "the context is the sender's";
    EXPECT_EQ(control.Taken(), "colour 6;");
}

TEST_F(MessageMap, SubclassingKeepsWhatTheWindowDidAndADerivedMapComesFirst) {
    MakeChild("EDIT", 5);
    Derived control;
    ASSERT_TRUE(control.SubclassDlgItem(5, &window));
    EXPECT_EQ(control.SendMessage(kAsk), 2);
    control.SendMessage(WM_COMMAND, 100);
    EXPECT_EQ(control.Taken(), "open;") << "the base's line";
    EXPECT_EQ(control.SendMessage(WM_GETTEXTLENGTH), 3);
    EXPECT_EQ(window.GetDlgItem(5), &control);
    EXPECT_FALSE(Derived().SubclassDlgItem(6, &window));
}

TEST(Wnd, BelongsToItsObjectFromCreationToDestruction) {
    HWND handle = nullptr;
    {
        Recorder window;
        ASSERT_TRUE(window.Make());
        handle = window.m_hWnd;
        EXPECT_EQ(CWnd::FromHandle(handle), &window);
        const CWnd* elsewhere = &window;
        std::thread([&] { elsewhere = CWnd::FromHandlePermanent(handle); }).join();
        EXPECT_EQ(elsewhere, nullptr) << "another thread does not get at the object";

        ::DestroyWindow(handle);
        EXPECT_EQ(window.m_endings, 1);
        EXPECT_EQ(window.m_hWnd, nullptr);
        EXPECT_EQ(CWnd::FromHandlePermanent(handle), nullptr);
        ASSERT_TRUE(window.Make());  // the object may have another
        handle = window.m_hWnd;
    }
    EXPECT_FALSE(::IsWindow(handle)) << "a destructor takes the window with it";
}

TEST_F(MessageMap, ATemporaryObjectLivesWhileMessagesAreSent) {
    const HWND plain = MakeChild("STATIC", 1);
    CWnd* const object = CWnd::FromHandle(plain);
    window.SendMessage(kAsk);
    EXPECT_NE(CWnd::FromHandle(MakeChild("STATIC", 2)), object);
    EXPECT_EQ(CWnd::FromHandle(plain), object);
    EXPECT_EQ(object->m_hWnd, plain);
    EXPECT_EQ(CWnd::FromHandlePermanent(plain), nullptr);
}

}  // namespace

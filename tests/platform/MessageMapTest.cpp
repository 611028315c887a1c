#include <afxcmn.h>
#include <afxwin.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

namespace {

constexpr UINT kAsk = WM_USER + 1;
constexpr UINT kTell = WM_USER + 2;
constexpr UINT kThrow = WM_USER + 3;

/// Writes down what its handlers are called with.
class Recorder : public CWnd {
public:
    BOOL Make(CWnd* parent = nullptr) {
        return CreateEx(0, AfxRegisterWndClass(0), "", WS_POPUP, CRect(0, 0, 200, 100), parent, 0);
    }
    std::string Taken() { return std::exchange(m_log, {}); }

    std::string m_log;
    bool m_throwsOnCreate = false;
    int* m_endings = nullptr;

protected:
    void Log(const char* format, auto... values) {
        CString line;
        line.Format(format, values...);
        m_log += line;
    }
    int OnCreate(LPCREATESTRUCT) {
        if (m_throwsOnCreate)
            AfxThrowResourceException();
        Log("create;");
        return 0;
    }
    void OnLButtonDown(UINT keys, CPoint point) { Log("down %u %ld %ld;", keys, point.x, point.y); }
    void OnSize(UINT, int width, int height) { Log("size %d %d;", width, height); }
    BOOL OnMouseWheel(UINT keys, short turn, CPoint point) {
        Log("wheel %u %d %ld;", keys, turn, point.x);
        return TRUE;
    }
    LRESULT OnAsk(WPARAM wParam, LPARAM lParam) {
        return static_cast<LRESULT>(wParam) * 10 + lParam;
    }
    LRESULT OnTell(WPARAM, LPARAM) {
        Log("base;");
        return 1;
    }
    LRESULT OnThrow(WPARAM kind, LPARAM) {
        if (kind == 0)
            AfxThrowUserException();
        if (kind == 1)
            throw std::runtime_error("expected");
        throw kind;
    }
    void OnOpen() { Log("open;"); }
    void OnRange(UINT id) { Log("range %u;", id); }
    void OnButton() { Log("button;"); }
    void OnChanged(NMHDR* header, LRESULT* result) {
        Log("changed %u;", header->code);
        *result = 42;
    }
    void PostNcDestroy() override {
        if (m_endings)
            ++*m_endings;
    }

    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(Recorder, CWnd)
ON_WM_CREATE()
ON_WM_LBUTTONDOWN()
ON_WM_SIZE()
ON_WM_MOUSEWHEEL()
ON_MESSAGE(kAsk, &Recorder::OnAsk)
ON_MESSAGE(kTell, &Recorder::OnTell)
ON_MESSAGE(kThrow, &Recorder::OnThrow)
ON_COMMAND(100, &Recorder::OnOpen)
ON_COMMAND_RANGE(110, 112, &Recorder::OnRange)
ON_BN_CLICKED(120, &Recorder::OnButton)
ON_NOTIFY(LVN_ITEMCHANGED, 130, &Recorder::OnChanged)
END_MESSAGE_MAP()

/// Overrides one line of its base's map.
class Derived : public Recorder {
protected:
    LRESULT OnTellMore(WPARAM, LPARAM) {
        Log("derived;");
        return 2;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(Derived, Recorder)
ON_MESSAGE(kTell, &Derived::OnTellMore)
END_MESSAGE_MAP()

TEST(MessageMap, UnpacksWhatMessagesCarry) {
    Recorder window;
    ASSERT_TRUE(window.Make());
    EXPECT_EQ(window.Taken().substr(0, 7), "create;");

    window.SendMessage(WM_LBUTTONDOWN, MK_CONTROL, MAKELPARAM(-5, 7));
    window.SendMessage(WM_SIZE, 0, MAKELPARAM(800, 600));
    window.SendMessage(WM_MOUSEWHEEL, MAKEWPARAM(MK_SHIFT, -120), MAKELPARAM(-1, 0));
    EXPECT_EQ(window.Taken(), "down 8 -5 7;size 800 600;wheel 4 -120 -1;");
    EXPECT_EQ(window.SendMessage(kAsk, 4, 2), 42);
}

TEST(MessageMap, CommandsGoByIdAndNotification) {
    Recorder window;
    ASSERT_TRUE(window.Make());
    window.Taken();
    const auto control = reinterpret_cast<LPARAM>(window.m_hWnd);
    window.SendMessage(WM_COMMAND, 100);
    window.SendMessage(WM_COMMAND, MAKEWPARAM(100, 1));  // an accelerator
    for (const WPARAM id : {109U, 110U, 112U, 113U})
        window.SendMessage(WM_COMMAND, id);
    window.SendMessage(WM_COMMAND, MAKEWPARAM(120, BN_CLICKED), control);
    window.SendMessage(WM_COMMAND, MAKEWPARAM(120, BN_SETFOCUS), control);
    EXPECT_EQ(window.Taken(), "open;open;range 110;range 112;button;");

    NMHDR header{window.m_hWnd, 130, static_cast<UINT>(LVN_ITEMCHANGED)};
    EXPECT_EQ(window.SendMessage(WM_NOTIFY, 130, reinterpret_cast<LPARAM>(&header)), 42);
    header.idFrom = 131;
    EXPECT_EQ(window.SendMessage(WM_NOTIFY, 131, reinterpret_cast<LPARAM>(&header)), 0);
}

TEST(MessageMap, ADerivedClassIsAskedBeforeItsBase) {
    Derived window;
    ASSERT_TRUE(window.Make());
    window.Taken();
    EXPECT_EQ(window.SendMessage(kTell), 2);
    EXPECT_EQ(window.SendMessage(kAsk, 1, 1), 11);
    EXPECT_EQ(window.Taken(), "derived;");
}

TEST(MessageMap, NoExceptionLeavesTheWindowProcedure) {
    Recorder window;
    ASSERT_TRUE(window.Make());
    for (const WPARAM kind : {0, 1, 2})
        EXPECT_EQ(window.SendMessage(kThrow, kind), 0) << kind;
    EXPECT_EQ(window.SendMessage(kAsk, 4, 2), 42);

    Recorder failing;
    failing.m_throwsOnCreate = true;
    EXPECT_FALSE(failing.Make());
    EXPECT_EQ(failing.m_hWnd, nullptr);
}

/// Colours itself when its parent is asked to.
class ColouredStatic : public CStatic {
public:
    CBrush m_brush{RGB(1, 2, 3)};
    UINT m_kind = 0;
    COLORREF m_found = 0;

protected:
    HBRUSH CtlColor(CDC* dc, UINT kind) {
        m_kind = kind;
        dc->SetBkColor(RGB(4, 5, 6));
        return m_brush;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(ColouredStatic, CStatic)
ON_WM_CTLCOLOR_REFLECT()
END_MESSAGE_MAP()

TEST(MessageMap, AControlsColourRequestComesBackToTheControl) {
    Recorder parent;
    ASSERT_TRUE(parent.Make());
    ColouredStatic control;
    ASSERT_TRUE(control.CreateEx(0, "STATIC", "text", WS_CHILD, CRect(0, 0, 50, 20), &parent, 7));
    CClientDC context(&control);
    const auto ask = [&](HWND who) {
        return parent.SendMessage(WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(context.m_hDC),
                                  reinterpret_cast<LPARAM>(who));
    };
    EXPECT_EQ(ask(control.m_hWnd), reinterpret_cast<LRESULT>(static_cast<HBRUSH>(control.m_brush)));
    EXPECT_EQ(control.m_kind, static_cast<UINT>(CTLCOLOR_STATIC));
    // The context is still the sender's, with what the handler has set.
    EXPECT_EQ(::GetBkColor(context.m_hDC), RGB(4, 5, 6));

    // Not an object of the framework's: the default brush.
    const HWND plain = ::CreateWindowA("STATIC", "", WS_CHILD, 0, 0, 9, 9, parent.m_hWnd, nullptr,
                                       nullptr, nullptr);
    control.m_kind = 0;
    ask(plain);
    EXPECT_EQ(control.m_kind, 0U);
}

TEST(Wnd, BelongsToItsObjectFromCreationToDestruction) {
    int endings = 0;
    Recorder window;
    window.m_endings = &endings;
    ASSERT_TRUE(window.Make());
    const HWND handle = window.m_hWnd;
    EXPECT_EQ(CWnd::FromHandle(handle), &window);
    EXPECT_EQ(CWnd::FromHandlePermanent(handle), &window);

    // Another thread does not get at the object.
    const CWnd* elsewhere = &window;
    std::thread([&] { elsewhere = CWnd::FromHandlePermanent(handle); }).join();
    EXPECT_EQ(elsewhere, nullptr);

    ::DestroyWindow(handle);
    EXPECT_EQ(endings, 1);
    EXPECT_EQ(window.m_hWnd, nullptr);
    EXPECT_EQ(CWnd::FromHandlePermanent(handle), nullptr);

    ASSERT_TRUE(window.Make());  // the object may have another
    const HWND second = window.m_hWnd;
    window.DestroyWindow();
    EXPECT_FALSE(::IsWindow(second));
    EXPECT_EQ(endings, 2);
}

TEST(Wnd, ADestructorTakesTheWindowWithIt) {
    HWND handle = nullptr;
    {
        Recorder window;
        ASSERT_TRUE(window.Make());
        handle = window.m_hWnd;
    }
    EXPECT_FALSE(::IsWindow(handle));
}

TEST(Wnd, SubclassingKeepsWhatTheWindowDid) {
    Recorder parent;
    ASSERT_TRUE(parent.Make());
    const HWND edit = ::CreateWindowA("EDIT", "old", WS_CHILD, 0, 0, 50, 20, parent.m_hWnd,
                                      reinterpret_cast<HMENU>(5), nullptr, nullptr);
    ASSERT_TRUE(edit);
    Derived control;
    ASSERT_TRUE(control.SubclassDlgItem(5, &parent));
    EXPECT_EQ(control.SendMessage(kTell), 2);
    control.SetWindowText("new");
    CString text;
    control.GetWindowText(text);
    EXPECT_STREQ(text, "new");
    EXPECT_EQ(parent.GetDlgItem(5), &control);
    EXPECT_FALSE(Derived().SubclassDlgItem(6, &parent));
}

TEST(Wnd, ATemporaryObjectLivesWhileMessagesAreSent) {
    HWND plain[2] = {};
    for (HWND& window : plain)
        window =
            ::CreateWindowA("STATIC", "", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    CWnd* const object = CWnd::FromHandle(plain[0]);
    Recorder window;
    ASSERT_TRUE(window.Make());
    window.SendMessage(kTell);
    EXPECT_NE(CWnd::FromHandle(plain[1]), object);
    EXPECT_EQ(CWnd::FromHandle(plain[0]), object);
    EXPECT_EQ(object->m_hWnd, plain[0]);
    EXPECT_EQ(CWnd::FromHandlePermanent(plain[0]), nullptr);
    for (const HWND handle : plain)
        ::DestroyWindow(handle);
}

TEST(Wnd, AttachingBorrowsTheNameOfAWindow) {
    const HWND plain =
        ::CreateWindowA("STATIC", "", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    {
        CWnd window;
        ASSERT_TRUE(window.Attach(plain));
        EXPECT_EQ(CWnd::FromHandle(plain), &window);
        EXPECT_EQ(window.Detach(), plain);
    }
    EXPECT_TRUE(::IsWindow(plain));
    CWnd window;
    window.Attach(plain);
    EXPECT_TRUE(window.DestroyWindow());
    EXPECT_EQ(window.m_hWnd, nullptr);
}

}  // namespace

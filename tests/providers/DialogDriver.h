#pragma once

#include <gtest/gtest.h>
#include <windows.h>
// After windows.h:
#include <commctrl.h>

#include <deque>
#include <functional>
#include <string>

namespace TerrascopeTest {

/// The selected row of a list view; -1 when none is.
inline int SelectedRow(HWND dialog, int list) {
    return static_cast<int>(
        ::SendDlgItemMessageA(dialog, list, LVM_GETNEXTITEM, WPARAM(-1), LVNI_SELECTED));
}

/// The text of a control (of the dialog itself for 0) in UTF-8, with plain line feeds.
inline std::string TextOf(HWND dialog, int control) {
    // Some rich edit controls copy nothing if the buffer has no room for their bytes.
    static wchar_t wide[100000];
    ::GetWindowTextW(control == 0 ? dialog : ::GetDlgItem(dialog, control), wide, 100000);
    static char text[300000];
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, 300000, nullptr, nullptr);
    std::string plain = text;
    std::erase(plain, '\r');
    return plain;
}

/// Drives a modal dialog from within its own message loop: a timer runs one step after the other,
/// each as often as it takes to become true. A test that waits in vain fails, and the dialog is
/// cancelled.
///
/// Threads: the thread that runs the dialog; one driver at a time.
class DialogDriver {
public:
    /// `box` is the message box above the dialog; either may be null.
    using Step = std::function<bool(HWND dialog, HWND box)>;

    /// `control` is the id of a control that only the dialog under test has.
    explicit DialogDriver(int control) : m_control(control) {
        s_driver = this;
        m_timer = ::SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR, DWORD) { s_driver->Tick(); });
    }
    ~DialogDriver() {
        ::KillTimer(nullptr, m_timer);
        EXPECT_TRUE(m_steps.empty())
            << "the dialog ended before its last " << m_steps.size() << " steps";
    }

    DialogDriver& Await(Step step) {
        m_steps.push_back(std::move(step));
        return *this;
    }
    /// Does something once.
    DialogDriver& Do(const std::function<void(HWND dialog)>& action) {
        return Await([action](HWND dialog, HWND) {
            if (dialog != nullptr) {
                action(dialog);
            }
            return dialog != nullptr;
        });
    }
    DialogDriver& Press(int button) {
        return Do([=](HWND dialog) { ::PostMessageA(dialog, WM_COMMAND, WPARAM(button), 0); });
    }
    DialogDriver& Type(int edit, const char* text) {
        return Do([=](HWND dialog) { ::SetDlgItemTextA(dialog, edit, text); });
    }
    /// Clicks into a row of a list view with the mouse, and waits until it is selected.
    DialogDriver& ClickRow(int list, int row) {
        Do([=](HWND dialog) {
            RECT rect{};
            rect.left = LVIR_LABEL;
            ::SendDlgItemMessageA(dialog, list, LVM_GETITEMRECT, WPARAM(row), LPARAM(&rect));
            const LPARAM point = MAKELPARAM(rect.left + 3, (rect.top + rect.bottom) / 2);
            ::PostMessageA(::GetDlgItem(dialog, list), WM_LBUTTONDOWN, MK_LBUTTON, point);
            ::PostMessageA(::GetDlgItem(dialog, list), WM_LBUTTONUP, 0, point);
        });
        return Await([=](HWND dialog, HWND) { return SelectedRow(dialog, list) == row; });
    }
    /// Waits for a message box and closes it.
    DialogDriver& DismissBox() {
        Await([](HWND, HWND box) {
            return box != nullptr && ::PostMessageA(box, WM_COMMAND, IDOK, 0) != FALSE;
        });
        return Await([](HWND, HWND box) { return box == nullptr; });
    }

private:
    void Tick() {
        m_dialog = m_box = nullptr;
        ::EnumThreadWindows(::GetCurrentThreadId(), &SortWindow, LPARAM(this));
        if (!m_steps.empty() && Step(m_steps.front())(m_dialog, m_box)) {
            m_steps.pop_front();
            m_ticks = 0;
        } else if (++m_ticks > 1000) {
            m_ticks = 0;
            for (const HWND window : {m_box, m_dialog}) {
                ::PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
            }
        }
    }
    static BOOL CALLBACK SortWindow(HWND window, LPARAM driver) {
        auto& found = *reinterpret_cast<DialogDriver*>(driver);
        char name[32] = "";
        ::GetClassNameA(window, name, sizeof name);
        if (std::string(name) == "#32770" && ::IsWindowVisible(window)) {
            const bool isDialog = ::GetDlgItem(window, found.m_control) != nullptr;
            (isDialog ? found.m_dialog : found.m_box) = window;
        }
        return TRUE;
    }

    inline static DialogDriver* s_driver = nullptr;
    const int m_control;
    HWND m_dialog = nullptr;
    HWND m_box = nullptr;
    UINT_PTR m_timer = 0;
    std::deque<Step> m_steps;
    int m_ticks = 0;
};

}  // namespace TerrascopeTest

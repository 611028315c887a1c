#include "tests/providers/DialogDriver.h"

#include <gtest/gtest.h>
// After windows.h:
#include <commctrl.h>

namespace TerrascopeTest {
namespace {

struct Windows {
    int control;
    HWND dialog = nullptr;
    HWND box = nullptr;
};

BOOL CALLBACK SortWindow(HWND window, LPARAM windows) {
    auto& found = *reinterpret_cast<Windows*>(windows);
    char name[32] = "";
    ::GetClassNameA(window, name, sizeof name);
    if (std::string(name) == "#32770" && ::IsWindowVisible(window)) {
        (::GetDlgItem(window, found.control) != nullptr ? found.dialog : found.box) = window;
    }
    return TRUE;
}

}  // namespace

DialogDriver* DialogDriver::s_driver = nullptr;

DialogDriver::DialogDriver(int control) : m_control(control) {
    s_driver = this;
    m_timer = ::SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR, DWORD) { s_driver->Tick(); });
}

DialogDriver::~DialogDriver() {
    ::KillTimer(nullptr, m_timer);
    EXPECT_TRUE(m_steps.empty()) << "the dialog ended before its last " << m_steps.size()
                                 << " steps";
}

DialogDriver& DialogDriver::Await(Step step) {
    m_steps.push_back(std::move(step));
    return *this;
}

DialogDriver& DialogDriver::Do(std::function<void(HWND)> action) {
    return Await([action](HWND dialog, HWND) {
        if (dialog != nullptr) {
            action(dialog);
        }
        return dialog != nullptr;
    });
}

DialogDriver& DialogDriver::ClickRow(int list, int row) {
    Do([list, row](HWND dialog) {
        RECT rect{};
        rect.left = LVIR_LABEL;
        ::SendDlgItemMessageA(dialog, list, LVM_GETITEMRECT, WPARAM(row), LPARAM(&rect));
        const LPARAM point = MAKELPARAM(rect.left + 3, (rect.top + rect.bottom) / 2);
        ::PostMessageA(::GetDlgItem(dialog, list), WM_LBUTTONDOWN, MK_LBUTTON, point);
        ::PostMessageA(::GetDlgItem(dialog, list), WM_LBUTTONUP, 0, point);
    });
    return Await([list, row](HWND dialog, HWND) { return SelectedRow(dialog, list) == row; });
}

DialogDriver& DialogDriver::DismissBox() {
    Await(
        [](HWND, HWND box) { return box != nullptr && ::PostMessageA(box, WM_COMMAND, IDOK, 0); });
    return Await([](HWND, HWND box) { return box == nullptr; });
}

void DialogDriver::Tick() {
    Windows windows{m_control};
    ::EnumThreadWindows(::GetCurrentThreadId(), &SortWindow, reinterpret_cast<LPARAM>(&windows));
    if (!m_steps.empty() && Step(m_steps.front())(windows.dialog, windows.box)) {
        m_steps.pop_front();
        m_ticks = 0;
    } else if (++m_ticks > 1000) {
        m_ticks = 0;
        for (const HWND window : {windows.box, windows.dialog}) {
            ::PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
        }
    }
}

int SelectedRow(HWND dialog, int list) {
    return static_cast<int>(
        ::SendDlgItemMessageA(dialog, list, LVM_GETNEXTITEM, WPARAM(-1), LVNI_SELECTED));
}

std::string TextOf(HWND dialog, int control) {
    // Some rich edit controls copy nothing if the buffer has no room for their bytes.
    static wchar_t wide[100000];
    ::GetWindowTextW(control == 0 ? dialog : ::GetDlgItem(dialog, control), wide, 100000);
    static char text[300000];
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, 300000, nullptr, nullptr);
    std::string plain = text;
    std::erase(plain, '\r');
    return plain;
}

}  // namespace TerrascopeTest

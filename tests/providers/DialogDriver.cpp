#include "tests/providers/DialogDriver.h"

#include <gtest/gtest.h>
// After windows.h:
#include <commctrl.h>

namespace TerrascopeTest {
namespace {

constexpr UINT kTickMilliseconds = 10;
constexpr int kTicksToWait = 1000;

}  // namespace

DialogDriver* DialogDriver::s_driver = nullptr;

DialogDriver::DialogDriver(int control) : m_control(control) {
    s_driver = this;
    m_timer = ::SetTimer(nullptr, 0, kTickMilliseconds, &DialogDriver::OnTimer);
}

DialogDriver::~DialogDriver() {
    ::KillTimer(nullptr, m_timer);
    s_driver = nullptr;
    for (const NamedStep& step : m_steps)
        ADD_FAILURE() << "the dialog ended before: " << step.what;
}

DialogDriver& DialogDriver::Await(const std::string& what, Step step) {
    m_steps.push_back({what, std::move(step)});
    return *this;
}

DialogDriver& DialogDriver::Do(std::function<void(HWND)> action) {
    return Await("an action", [action](const Windows& windows) {
        if (windows.dialog == nullptr)
            return false;
        action(windows.dialog);
        return true;
    });
}

DialogDriver& DialogDriver::Press(int button) {
    return Do([button](HWND dialog) { ::PostMessageA(dialog, WM_COMMAND, WPARAM(button), 0); });
}

DialogDriver& DialogDriver::Type(int edit, const std::string& text) {
    return Do([edit, text](HWND dialog) {
        const HWND window = ::GetDlgItem(dialog, edit);
        ::SetFocus(window);
        ::SendMessageA(window, EM_SETSEL, 0, -1);
        ::SendMessageA(window, WM_CLEAR, 0, 0);
        for (const char letter : text)
            ::SendMessageA(window, WM_CHAR, WPARAM(letter), 0);
    });
}

DialogDriver& DialogDriver::ClickRow(int list, int row) {
    return Do([list, row](HWND dialog) {
        const HWND window = ::GetDlgItem(dialog, list);
        RECT rect{};
        rect.left = LVIR_LABEL;
        ASSERT_TRUE(::SendMessageA(window, LVM_GETITEMRECT, WPARAM(row), LPARAM(&rect)));
        const LPARAM point = MAKELPARAM(rect.left + 3, (rect.top + rect.bottom) / 2);
        ::PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, point);
        ::PostMessageA(window, WM_LBUTTONUP, 0, point);
    });
}

DialogDriver& DialogDriver::DismissBox() {
    return Await("a message box",
                 [](const Windows& windows) {
                     if (windows.box != nullptr)
                         ::PostMessageA(windows.box, WM_COMMAND, IDOK, 0);
                     return windows.box != nullptr;
                 })
        .Await("the box's end", [](const Windows& windows) { return windows.box == nullptr; });
}

void CALLBACK DialogDriver::OnTimer(HWND, UINT, UINT_PTR, DWORD) {
    if (s_driver != nullptr)
        s_driver->Tick();
}

void DialogDriver::Tick() {
    if (m_steps.empty())
        return;
    const Windows windows = FindWindows();
    if (++m_ticks > kTicksToWait) {
        ADD_FAILURE() << "waited in vain for: " << m_steps.front().what;
        m_steps.clear();
        for (const HWND window : {windows.box, windows.dialog})
            ::PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
        return;
    }
    const NamedStep step = m_steps.front();
    if (step.step(windows)) {
        m_steps.pop_front();
        m_ticks = 0;
    }
}

DialogDriver::Windows DialogDriver::FindWindows() const {
    struct Search {
        int control;
        Windows found;
    } search{m_control, {}};
    ::EnumThreadWindows(
        ::GetCurrentThreadId(),
        [](HWND window, LPARAM parameter) {
            auto& wanted = *reinterpret_cast<Search*>(parameter);
            char name[32] = "";
            ::GetClassNameA(window, name, sizeof name);
            if (std::string(name) == "#32770" && ::IsWindowVisible(window)) {
                const bool isDialog = ::GetDlgItem(window, wanted.control) != nullptr;
                (isDialog ? wanted.found.dialog : wanted.found.box) = window;
            }
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

std::string WindowText(HWND window) {
    // Some rich edit controls copy nothing if the buffer has no room for their bytes.
    std::wstring wide(static_cast<std::size_t>(::GetWindowTextLengthW(window)) * 2 + 1, L'\0');
    wide.resize(static_cast<std::size_t>(::GetWindowTextW(window, wide.data(), int(wide.size()))));
    std::erase(wide, L'\r');
    std::string text(wide.size() * 3, '\0');
    text.resize(static_cast<std::size_t>(
        ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                              static_cast<int>(text.size()), nullptr, nullptr)));
    return text;
}

}  // namespace TerrascopeTest

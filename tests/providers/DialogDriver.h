#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <string>

namespace TerrascopeTest {

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
    explicit DialogDriver(int control);
    ~DialogDriver();

    DialogDriver& Await(Step step);
    /// Does something once.
    DialogDriver& Do(std::function<void(HWND dialog)> action);
    DialogDriver& Press(int button) {
        return Do([=](HWND dialog) { ::PostMessageA(dialog, WM_COMMAND, WPARAM(button), 0); });
    }
    DialogDriver& Type(int edit, const char* text) {
        return Do([=](HWND dialog) { ::SetDlgItemTextA(dialog, edit, text); });
    }
    /// Clicks into a row of a list view with the mouse, and waits until it is selected.
    DialogDriver& ClickRow(int list, int row);
    /// Waits for a message box and closes it.
    DialogDriver& DismissBox();

private:
    void Tick();

    static DialogDriver* s_driver;
    const int m_control;
    UINT_PTR m_timer = 0;
    std::deque<Step> m_steps;
    int m_ticks = 0;
};

/// The selected row of a list view; -1 when none is.
int SelectedRow(HWND dialog, int list);

/// The text of a control (of the dialog itself for 0) in UTF-8, with plain line feeds.
std::string TextOf(HWND dialog, int control);

}  // namespace TerrascopeTest

#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <string>

namespace TerrascopeTest {

/// Drives a modal dialog from within its own message loop: a timer runs one step after the other,
/// each as often as it takes to become true.
///
/// Threads: the thread that runs the dialog; one driver at a time.
class DialogDriver {
public:
    /// What a step sees: the dialog under test, and the message box above it or null.
    struct Windows {
        HWND dialog = nullptr;
        HWND box = nullptr;
    };
    using Step = std::function<bool(const Windows&)>;

    /// `control` is the id of a control that only the dialog under test has.
    explicit DialogDriver(int control);
    ~DialogDriver();
    DialogDriver(const DialogDriver&) = delete;
    DialogDriver& operator=(const DialogDriver&) = delete;

    /// Waits until the step is true; a test that waits in vain fails, and the dialog is cancelled.
    DialogDriver& Await(const std::string& what, Step step);
    /// Does something once.
    DialogDriver& Do(std::function<void(HWND dialog)> action);

    DialogDriver& Press(int button);
    DialogDriver& Type(int edit, const std::string& text);
    /// Clicks into a row of a list view with the mouse.
    DialogDriver& ClickRow(int list, int row);
    /// Waits for a message box and closes it.
    DialogDriver& DismissBox();

private:
    struct NamedStep {
        std::string what;
        Step step;
    };
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD);
    void Tick();
    Windows FindWindows() const;

    static DialogDriver* s_driver;
    const int m_control;
    UINT_PTR m_timer = 0;
    std::deque<NamedStep> m_steps;
    int m_ticks = 0;
};

/// A window's text in UTF-8, with plain line feeds.
std::string WindowText(HWND window);

}  // namespace TerrascopeTest

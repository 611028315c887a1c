#pragma once

#include "../Export.h"
#include "../core/Object.h"
#include "Wnd.h"

/// The program. One static object of a class derived from it is the application.
class FRAMEWORK_API CWinApp : public CObject {
public:
    CWinApp();
    ~CWinApp() override;

    /// FALSE ends the program with ExitInstance's answer.
    virtual BOOL InitInstance() { return TRUE; }
    /// Handles messages until the main window is gone.
    virtual int Run();
    /// The program's exit code.
    virtual int ExitInstance() { return static_cast<int>(m_exitMessage.wParam); }

    /// Offers a message to the windows from its own up to the main window.
    BOOL PreTranslateMessage(MSG* message);

    CWnd* m_pMainWnd = nullptr;  ///< its destruction ends Run
    int m_nCmdShow = SW_SHOWNORMAL;

private:
    MSG m_exitMessage{};
};

FRAMEWORK_API CWinApp* AfxGetApp();
FRAMEWORK_API CWnd* AfxGetMainWnd();
/// A message box over the active window, with the program's name.
FRAMEWORK_API int AfxMessageBox(LPCSTR text, UINT type = MB_OK);

/// What WinMain of a program does.
FRAMEWORK_API int AfxWinMain(HINSTANCE instance, HINSTANCE former, LPSTR commandLine, int show);

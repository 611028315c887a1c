#pragma once

#include <afxwin.h>

#include <string>

#include "viewer/ViewerOptions.h"

namespace Viewer {

class CMainFrame;

/// The program: reads the options and either opens the window for a user, or does one piece of
/// work without one and ends.
///
/// Errors: exit code 2 after one line on standard error; 0 else.
class CViewerApp : public CWinApp {
public:
    BOOL InitInstance() override;
    int ExitInstance() override;

private:
    /// False when the program shall end; `error` is what is wrong, if anything is.
    bool Start(std::string& error);
    bool ShowMap(CMainFrame& frame, std::string& error);

    ViewerOptions m_options;
    int m_exitCode = 0;
};

}  // namespace Viewer

// The smallest program that shows a map:
//   MinimalHost          the map of the sample provider
//   MinimalHost MAP      a map of the provider that Terrascope.ini beside Terrascope.dll names
//   MinimalHost --check  shows no window; ends with 0 when the sample provider's map is painted as
//                        it should be, and with 1 when it is not
#include <cstdlib>

#include "MapWindow.h"
#include "PictureCheck.h"

namespace {

constexpr char kSampleMap[] = "Checkerboard";

class CHost : public CWinApp {
public:
    BOOL InitInstance() override {
        const CString argument = __argc > 1 ? __argv[1] : "";
        const bool check = argument == "--check";
        // Terrascope.ini overrides this.
        Terrascope::CMapAssistant::SetTileMapInfoProvider("LOCAL", "CheckerboardProvider", "");
        auto* window = new CMapWindow;
        m_pMainWnd = window;
        const bool open = window->Open(check || argument.IsEmpty() ? kSampleMap : argument);
        if (check) {
            m_exitCode = open && ShowsCheckerboard(*window) ? 0 : 1;
            return FALSE;  // the window goes, and the program ends
        }
        if (!open) {
            AfxMessageBox("There is no such map. See the log folder beside Terrascope.dll.");
            m_exitCode = 1;
            return FALSE;
        }
        window->ShowWindow(m_nCmdShow);
        return TRUE;
    }
    int ExitInstance() override { return m_exitCode; }

private:
    int m_exitCode = 0;
};

CHost host;

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE former, LPSTR commandLine, int show) {
    return AfxWinMain(instance, former, commandLine, show);
}

#include "viewer/ViewerApp.h"

#include <cstdlib>

#include "terrascope/api/MapAssistant.h"
#include "viewer/Console.h"
#include "viewer/LibraryFolder.h"
#include "viewer/MainFrame.h"
#include "viewer/script/ScriptedRun.h"

namespace Viewer {
namespace {

CViewerApp g_app;

constexpr int kExitWrong = 2;
constexpr PixelSize kDefaultSize = {1024, 640};

/// Chooses the provider of --data; prints a line when the library's settings win over it.
void Choose(const DataSource& source) {
    const CString settings = BesideLibrary("Terrascope.ini");
    char named[256] = "";
    GetPrivateProfileStringA("TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE", source.role.c_str(), "", named,
                             sizeof(named), settings);
    if (named[0] != '\0') {
        PrintError("--data " + source.role + " is not used: \"" + settings.GetString() +
                   "\" names " + named);
    }
    Terrascope::CMapAssistant::SetTileMapInfoProvider(source.role.c_str(), source.name.c_str(),
                                                      source.path.c_str());
}

}  // namespace

BOOL CViewerApp::InitInstance() {
    CWinApp::InitInstance();
    std::string error;
    if (Start(error)) {
        return TRUE;
    }
    if (m_pMainWnd != nullptr) {
        m_pMainWnd->DestroyWindow();
        m_pMainWnd = nullptr;
    }
    if (!error.empty()) {
        PrintError(error);
        m_exitCode = kExitWrong;
    }
    return FALSE;
}

int CViewerApp::ExitInstance() {
    CWinApp::ExitInstance();
    return m_exitCode;
}

bool CViewerApp::Start(std::string& error) {
    const auto options = ParseOptions({__argv + 1, __argv + __argc}, error);
    if (!options) {
        return false;
    }
    m_options = *options;
    if (m_options.help || m_options.version) {
        Print(m_options.help ? OptionsHelp() : "TerrascopeViewer " VIEWER_VERSION "\n");
        return false;
    }
    for (const DataSource& source : m_options.data) {
        Choose(source);
    }
    auto* frame = new CMainFrame;  // deletes itself with its window
    m_pMainWnd = frame;
    if (!frame->MakeWindow(m_options.size.value_or(kDefaultSize))) {
        error = "the window could not be made";
        return false;
    }
    return m_options.list ? PrintMaps(*frame, error) && false : ShowMap(*frame, error);
}

bool CViewerApp::ShowMap(CMainFrame& frame, std::string& error) {
    const MapChoice choice = {m_options.map, m_options.layer, m_options.center};
    if (!choice.map.empty() && !frame.Open(choice, error)) {
        return false;
    }
    frame.ShowWindow(m_options.IsScripted() ? SW_SHOWNOACTIVATE : m_nCmdShow);
    frame.UpdateWindow();
    if (!m_options.IsScripted()) {
        if (choice.map.empty()) {
            frame.ChooseMap();
        }
        return true;
    }
    if (!m_options.tourFile.empty() && !PlayTour(frame, m_options, error)) {
        return false;
    }
    if (!m_options.snapshotFile.empty()) {
        TakeSnapshot(frame, m_options, error);
    }
    return false;
}

}  // namespace Viewer

int WINAPI WinMain(HINSTANCE instance, HINSTANCE former, LPSTR commandLine, int show) {
    return AfxWinMain(instance, former, commandLine, show);
}

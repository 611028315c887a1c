#include "viewer/ViewerApp.h"

#include <cstdlib>

#include "viewer/Console.h"
#include "viewer/MainFrame.h"
#include "viewer/script/ScriptedRun.h"

namespace Viewer {
namespace {

CViewerApp g_app;

constexpr int kExitWrong = 2;
constexpr PixelSize kDefaultSize = {1024, 640};

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
    auto* frame = new CMainFrame;  // deletes itself with its window
    m_pMainWnd = frame;
    if (!frame->MakeWindow(m_options.size.value_or(kDefaultSize))) {
        error = "the window could not be made";
        return false;
    }
    for (const DataSource& source : m_options.data) {
        std::string reason;
        if (!frame->UseData(source, reason)) {
            PrintError("--data " + source.role + " is not used: " + reason);
        }
    }
    if (m_options.IsScripted()) {
        frame->SetScripted();
    }
    frame->KeepIn(m_options.keepIn);
    if (m_options.list && !m_options.file.empty() && !frame->OpenFile(m_options.file, {}, error)) {
        return false;
    }
    return m_options.list ? PrintMaps(*frame, error) && false : ShowMap(*frame, error);
}

bool CViewerApp::ShowMap(CMainFrame& frame, std::string& error) {
    const MapChoice choice = {m_options.map, m_options.layer, m_options.center};
    const bool isFile = !m_options.file.empty();
    const bool asksUser = !m_options.IsScripted() && (isFile || choice.map.empty());
    if (!asksUser &&
        !(isFile ? frame.OpenFile(m_options.file, choice, error) : frame.Open(choice, error))) {
        return false;
    }
    frame.ShowWindow(m_options.IsScripted() ? SW_SHOWNOACTIVATE : m_nCmdShow);
    frame.UpdateWindow();
    if (asksUser && isFile) {
        frame.OpenFileOfUser(m_options.file, choice);
    } else if (asksUser) {
        frame.ChooseMap();
    }
    if (!m_options.IsScripted()) {
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

#include "viewer/MainFrame.h"

#include <commctrl.h>
#include <shellapi.h>

#include <algorithm>
#include <iterator>

#include "terrascope/api/MapAssistant.h"
#include "viewer/AboutDlg.h"
#include "viewer/FilePrompt.h"
#include "viewer/KeptFolder.h"
#include "viewer/LibraryFolder.h"
#include "viewer/MapAddress.h"
#include "viewer/MapRecords.h"
#include "viewer/OpenAddressDlg.h"
#include "viewer/ServerState.h"
#include "viewer/Settings.h"
#include "viewer/resource.h"

namespace Viewer {
namespace {

using Terrascope::MapToolKind;

struct ToolButton {
    UINT command;
    const char* text;
};

/// In the order of the tool kinds, as their commands are.
constexpr ToolButton kTools[] = {
    {ID_TOOL_ARROW, "Arrow"},
    {ID_TOOL_ZOOM_IN, "Zoom in"},
    {ID_TOOL_ZOOM_OUT, "Zoom out"},
    {ID_TOOL_PAN, "Pan"},
};

/// The status bar's parts: map, layer, tool, point under the mouse, what is wrong with the servers
/// (the rest of the width).
constexpr int kPartEnds[] = {200, 340, 440, 620, -1};
constexpr int kServerPart = 4;

constexpr UINT_PTR kServerTimer = 1;
constexpr UINT kServerMs = 1000;

}  // namespace

BEGIN_MESSAGE_MAP(CMainFrame, CFrameWnd)
ON_WM_SIZE()
ON_WM_SETFOCUS()
ON_WM_GETMINMAXINFO()
ON_COMMAND_RANGE(ID_TOOL_ARROW, ID_TOOL_PAN, &CMainFrame::OnTool)
ON_COMMAND_RANGE(ID_LAYER_FINER, ID_LAYER_WHOLE, &CMainFrame::OnLayer)
ON_COMMAND(ID_FILE_OPEN_MAPS, &CMainFrame::OnFileOpen)
ON_COMMAND(ID_FILE_OPEN_ADDRESS, &CMainFrame::OnFileOpenAddress)
ON_COMMAND(ID_MAP_CHOOSE, &CMainFrame::OnMapChoose)
ON_COMMAND(ID_MAP_EXIT, &CMainFrame::OnMapExit)
ON_COMMAND(ID_APP_INFO, &CMainFrame::OnAppInfo)
ON_MESSAGE(WM_DROPFILES, &CMainFrame::OnDropFiles)
ON_MESSAGE(WM_TIMER, &CMainFrame::OnTimer)
END_MESSAGE_MAP()

bool CMainFrame::MakeWindow(PixelSize viewSize) {
    if (!CFrameWnd::Create(nullptr, "Terrascope Viewer", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                           rectDefault, nullptr, MAKEINTRESOURCE(IDR_MAIN)) ||
        !CreateBars() || !m_view.MakeWindow(this, ID_MAP_VIEW)) {
        return false;
    }
    m_view.SetStatusListener([this] { ShowStatus(); });
    ::DragAcceptFiles(m_hWnd, TRUE);
    LayOut();
    ResizeView(viewSize);
    ShowStatus();
    return true;
}

bool CMainFrame::CreateBars() {
    if (!m_toolbar.CreateEx(0, TOOLBARCLASSNAMEA, "",
                            WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_LIST, CRect(0, 0, 0, 0),
                            this, ID_TOOLS) ||
        !m_status.CreateEx(0, STATUSCLASSNAMEA, "", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP,
                           CRect(0, 0, 0, 0), this, ID_STATUS)) {
        return false;
    }
    m_toolbar.SendMessage(TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON));
    for (const ToolButton& tool : kTools) {
        TBBUTTON button = {};
        button.iBitmap = I_IMAGENONE;
        button.idCommand = static_cast<int>(tool.command);
        button.fsState = TBSTATE_ENABLED;
        button.fsStyle = BTNS_CHECKGROUP | BTNS_AUTOSIZE | BTNS_SHOWTEXT;
        button.iString = reinterpret_cast<INT_PTR>(tool.text);
        m_toolbar.SendMessage(TB_ADDBUTTONSA, 1, reinterpret_cast<LPARAM>(&button));
    }
    m_toolbar.SendMessage(TB_AUTOSIZE);
    m_status.SendMessage(SB_SETPARTS, std::size(kPartEnds), reinterpret_cast<LPARAM>(kPartEnds));
    return true;
}

bool CMainFrame::UseData(const DataSource& source, std::string& error) {
    std::string settings;
    const std::string named = ProviderOfSettings(source.role, settings);
    Terrascope::CMapAssistant::SetTileMapInfoProvider(source.role.c_str(), source.name.c_str(),
                                                      source.path.c_str());
    (_stricmp(source.role.c_str(), "LOCAL") == 0 ? m_local : m_remote) = source;
    if (!named.empty()) {
        error = "\"" + settings + "\" names " + named;
    }
    return named.empty();
}

bool CMainFrame::OpenFile(const std::string& path, const MapChoice& wanted, std::string& error) {
    const auto source = FindSource(path, error);
    if (!source) {
        return false;
    }
    const DataSource formerLocal = m_local;
    const DataSource formerRemote = m_remote;
    MapChoice choice = wanted;
    if (choice.map.empty()) {
        choice.map = source->map;
    }
    const bool isAddress = IsAddress(path);
    const bool isKept = source->remote.name != MapSource::kNoProvider;
    std::string reason;
    const bool hasRemote = UseData(source->remote, reason) || !isKept;
    if (hasRemote) {
        reason.clear();  // another remote one that the settings name does no harm
    }
    if (!UseData(source->data, reason) || !hasRemote) {
        reason += ", which wins over it";
    } else if (ShowMapOfSource(choice, isAddress, reason)) {
        WatchServers(isAddress, isKept);
        return true;
    }
    if (!reason.empty()) {
        error = "\"" + WithoutSecrets(path) + "\" is not opened: " + reason;
    }
    std::string ignored;
    UseData(formerLocal, ignored);
    UseData(formerRemote, ignored);
    if (isKept && m_keepIn.empty()) {
        ::RemoveDirectoryA(source->data.path.c_str());  // if nothing was kept in it
    }
    return false;
}

std::optional<MapSource> CMainFrame::FindSource(const std::string& path, std::string& error) {
    if (!IsAddress(path)) {
        return FindMapSource(path, error);
    }
    const auto address = ReadAddress(path, error);
    if (!address) {
        return std::nullopt;
    }
    const std::string folder = MakeKeptFolder(*address, m_keepIn);
    if (folder.empty() && !m_keepIn.empty() && m_keepIn != "-") {
        error = "--keep: there can be no folder \"" + m_keepIn + "\"";
        return std::nullopt;
    }
    return SourceOfAddress(*address, folder);
}

void CMainFrame::WatchServers(bool isAddress, bool isKept) {
    m_isAddress = isAddress;
    m_isKept = isKept;
    m_view.AwaitServers(isAddress);
    if (isAddress) {
        ::SetTimer(m_hWnd, kServerTimer, kServerMs, nullptr);
    } else {
        ::KillTimer(m_hWnd, kServerTimer);
    }
    SetStatusText(kServerPart, ServerText().c_str());
}

std::string CMainFrame::ServerText() const {
    return m_isAddress ? ServerStatusText(AskServers(), m_isKept) : "";
}

LRESULT CMainFrame::OnTimer(WPARAM, LPARAM) {
    SetStatusText(kServerPart, ServerText().c_str());
    return 0;
}

bool CMainFrame::ShowMapOfSource(const MapChoice& wanted, bool isAddress, std::string& error) {
    const std::vector<MapRecord> maps = ReadMaps();
    if (maps.empty()) {
        const std::string server = isAddress ? AskServers().text : "";
        error = "it has no map that can be shown" + (server.empty() ? "" : ": " + server) +
                "; see the logs in \"";
        error += BesideLibrary("log").GetString();
        error += '"';
        return false;
    }
    MapChoice choice = wanted;
    if (choice.map.empty() && (m_isScripted || maps.size() == 1)) {
        choice.map = maps.front().name;
    }
    return choice.map.empty() ? ChooseMap() : Open(choice, error);
}

void CMainFrame::OpenFileOfUser(const std::string& path, const MapChoice& wanted) {
    std::string error;
    if (!OpenFile(path, wanted, error) && !error.empty()) {
        ShowProblem(error);
    }
}

void CMainFrame::ShowProblem(const std::string& text) {
    if (m_isScripted) {
        m_problem = text;
    } else {
        MessageBox(text.c_str(), "Terrascope Viewer", MB_OK | MB_ICONWARNING);
    }
}

bool CMainFrame::Open(const MapChoice& choice, std::string& error) {
    m_view.ResetStatistics();
    if (!m_view.OpenMap(choice.map.c_str(), choice.firstLayerScale)) {
        error = "there is no map \"" + choice.map + "\"; --list prints the names";
        return false;
    }
    const int layer = choice.layer.value_or(m_view.Display()->GetLayerRange().first);
    if (!m_view.ShowLayer(layer)) {
        error = "the map \"" + choice.map + "\" has no layer " + std::to_string(layer) + ", only " +
                LayerRangeText();
        return false;
    }
    if (choice.center) {
        m_view.ShowCenter(*choice.center);
    }
    const CString opened = m_view.Display()->GetMapName();
    m_view.SetAttribution("");
    for (const MapRecord& record : ReadMaps()) {
        if (opened.CompareNoCase(record.name.c_str()) == 0) {
            m_view.SetAttribution(AttributionOf(record.remark));
        }
    }
    SetWindowText((choice.map + " - Terrascope Viewer").c_str());
    return true;
}

std::string CMainFrame::LayerRangeText() {
    const auto [first, last] = m_view.Display()->GetLayerRange();
    return "layers " + std::to_string(first) + " to " + std::to_string(last);
}

bool CMainFrame::ChooseMap() {
    CString name = LoadLastMap();
    int layer = 0;
    double scale = 1.0;
    if (Terrascope::CMapAssistant::SelectMap(name, layer, scale) == 0) {
        return false;
    }
    std::string error;
    if (!Open({name.GetString(), layer, std::nullopt, scale}, error)) {
        ShowProblem(error);
        return false;
    }
    SaveLastMap(name);
    return true;
}

void CMainFrame::ResizeView(PixelSize size) {
    // A narrow window's menu takes more lines, but only once it is that narrow.
    constexpr int kMostTries = 3;
    for (int i = 0; i < kMostTries; ++i) {
        CRect window, view;
        GetWindowRect(&window);
        m_view.GetClientRect(&view);
        if (view.Width() == size.width && view.Height() == size.height) {
            return;
        }
        SetWindowPos(nullptr, 0, 0, window.Width() + size.width - view.Width(),
                     window.Height() + size.height - view.Height(),
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
}

void CMainFrame::OnGetMinMaxInfo(MINMAXINFO* info) {
    // A picture may be larger than the screen.
    info->ptMaxTrackSize = {kGreatestSide + 200, kGreatestSide + 200};
    info->ptMinTrackSize = {0, 0};
}

void CMainFrame::OnSize(UINT type, int cx, int cy) {
    CFrameWnd::OnSize(type, cx, cy);
    LayOut();
}

void CMainFrame::LayOut() {
    if (m_view.GetSafeHwnd() == nullptr) {
        return;
    }
    m_toolbar.SendMessage(TB_AUTOSIZE);
    m_status.SendMessage(WM_SIZE);  // the bar finds its own place
    CRect client, toolbar, status;
    GetClientRect(&client);
    m_toolbar.GetWindowRect(&toolbar);
    m_status.GetWindowRect(&status);
    m_view.MoveWindow(0, toolbar.Height(), client.Width(),
                      std::max(0, client.Height() - toolbar.Height() - status.Height()));
}

void CMainFrame::ShowStatus() {
    Terrascope::ITerrascope* display = m_view.Display();
    CString layer, point;
    if (display != nullptr && display->GetLayer() >= 0) {
        const auto [first, last] = display->GetLayerRange();
        layer.Format("Layer %d (%d to %d)", display->GetLayer(), first, last);
    }
    MapPoint under;
    if (m_view.PointUnderMouse(under)) {
        point.Format("%.5f, %.5f", under.x, under.y);
    }
    const auto tool = static_cast<size_t>(m_view.Tool());
    SetStatusText(0, display != nullptr ? display->GetMapName() : CString());
    SetStatusText(1, layer);
    SetStatusText(2, kTools[tool].text);
    SetStatusText(3, point);
    m_toolbar.SendMessage(TB_CHECKBUTTON, kTools[tool].command, TRUE);
    CheckMenuRadioItem(::GetMenu(m_hWnd), ID_TOOL_ARROW, ID_TOOL_PAN, kTools[tool].command,
                       MF_BYCOMMAND);
}

void CMainFrame::SetStatusText(int part, const CString& text) {
    CString& shown = m_statusTexts[part];
    if (shown != text) {
        shown = text;
        m_status.SendMessage(SB_SETTEXTA, static_cast<WPARAM>(part),
                             reinterpret_cast<LPARAM>(shown.GetString()));
    }
}

BOOL CMainFrame::PreTranslateMessage(MSG* message) {
    static constexpr std::pair<WPARAM, WPARAM> kShortcuts[] = {
        {'O', ID_FILE_OPEN_MAPS}, {'L', ID_FILE_OPEN_ADDRESS}, {'M', ID_MAP_CHOOSE}};
    if (message->message == WM_KEYDOWN && GetKeyState(VK_CONTROL) < 0) {
        for (const auto& [key, command] : kShortcuts) {
            if (message->wParam == key) {
                PostMessage(WM_COMMAND, command);
                return TRUE;
            }
        }
    }
    return CFrameWnd::PreTranslateMessage(message);
}

void CMainFrame::OnSetFocus(CWnd*) {
    m_view.SetFocus();
}

void CMainFrame::OnTool(UINT command) {
    m_view.SelectTool(static_cast<MapToolKind>(command - ID_TOOL_ARROW));
}

void CMainFrame::OnLayer(UINT command) {
    if (command == ID_LAYER_WHOLE) {
        m_view.ShowWholeMap();
        return;
    }
    CRect client;
    m_view.GetClientRect(&client);
    m_view.StepLayer(command == ID_LAYER_FINER ? 1 : -1, client.CenterPoint());
}

void CMainFrame::OnFileOpen() {
    if (const std::string path = AskForMapFile(*this); !path.empty()) {
        OpenFileOfUser(path);
    }
}

void CMainFrame::OnFileOpenAddress() {
    if (m_isScripted) {
        return;
    }
    COpenAddressDlg dialog(this, m_lastAddress);
    if (dialog.DoModal() != IDOK) {
        return;
    }
    m_lastAddress = dialog.Address();
    const std::string address = m_lastAddress.GetString();
    std::string error;
    if (ReadAddress(address, error)) {
        OpenFileOfUser(address);
    } else {
        ShowProblem(error);
    }
}

void CMainFrame::OnMapChoose() {
    ChooseMap();
}

LRESULT CMainFrame::OnDropFiles(WPARAM drop, LPARAM) {
    const auto files = reinterpret_cast<HDROP>(drop);
    const UINT length = ::DragQueryFileA(files, 0, nullptr, 0);
    std::string path(length + 1, '\0');
    path.resize(::DragQueryFileA(files, 0, path.data(), length + 1));
    ::DragFinish(files);
    OpenFileOfUser(path);
    return 0;
}

void CMainFrame::OnMapExit() {
    PostMessage(WM_CLOSE);
}

void CMainFrame::OnAppInfo() {
    CAboutDlg(this).DoModal();
}

}  // namespace Viewer

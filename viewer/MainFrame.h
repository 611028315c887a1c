#pragma once

#include <afxwin.h>

#include <optional>
#include <string>
#include <utility>

#include "viewer/MapSource.h"
#include "viewer/MapView.h"
#include "viewer/TextValues.h"

namespace Viewer {

/// What to show; no name is any map, the layer's default is the map's first, the centre's the
/// middle of the map.
struct MapChoice {
    std::string map;
    std::optional<int> layer;
    std::optional<MapPoint> center;
    double firstLayerScale = 1.0;
};

/// The program's window: menu, toolbar, the map filling the rest, status bar.
///
/// Threads: the user-interface thread.
/// Ends:    deletes itself when its window is destroyed.
class CMainFrame : public CFrameWnd {
public:
    /// Makes the window with a map view of `viewSize` pixels; it is not shown yet.
    bool MakeWindow(PixelSize viewSize);

    CMapView& View() { return m_view; }

    /// Chooses a provider for the library. False when Terrascope.ini names another one, which wins;
    /// `error` is then one line that names the file.
    bool UseData(const DataSource& source, std::string& error);

    /// Opens a map of a file, a folder or an address: the wanted one; without a name the only one,
    /// or the one that the user chooses. Else `error` is one line about what is wrong (empty when
    /// the user chose none), and what was shown stays.
    bool OpenFile(const std::string& path, const MapChoice& wanted, std::string& error);

    /// The same, and shows what is wrong.
    void OpenFileOfUser(const std::string& path, const MapChoice& wanted = {});

    /// Where tiles of addresses are kept from now on; "-": nowhere. Without it each address has a
    /// folder of the user's.
    void KeepIn(const std::string& folder) { m_keepIn = folder; }

    /// What is wrong with the servers of the open address at this moment; empty: nothing.
    std::string ServerText() const;

    /// No user is there: nothing asks and no message is shown. Of several maps the first is opened.
    void SetScripted() { m_isScripted = true; }
    /// What a message would have said since the last call.
    std::string TakeProblem() { return std::exchange(m_problem, {}); }

    /// Opens a map; else `error` is one line about what is wrong, and what was shown stays.
    bool Open(const MapChoice& choice, std::string& error);

    /// Makes the window as large as a map view of this size needs.
    void ResizeView(PixelSize size);

    /// "layers 1 to 4" of the open map.
    std::string LayerRangeText();

    /// Lets the user choose a map in the library's dialog and shows it; false when none is shown.
    bool ChooseMap();

protected:
    afx_msg void OnSize(UINT type, int cx, int cy);
    afx_msg void OnSetFocus(CWnd* former);
    afx_msg void OnGetMinMaxInfo(MINMAXINFO* info);
    afx_msg void OnTool(UINT command);
    afx_msg void OnLayer(UINT command);
    afx_msg void OnFileOpen();
    afx_msg void OnFileOpenAddress();
    afx_msg void OnMapChoose();
    afx_msg LRESULT OnDropFiles(WPARAM drop, LPARAM);
    afx_msg void OnMapExit();
    afx_msg LRESULT OnTimer(WPARAM, LPARAM);
    afx_msg void OnAppInfo();
    BOOL PreTranslateMessage(MSG* message) override;
    DECLARE_MESSAGE_MAP()

private:
    bool CreateBars();
    void LayOut();
    void ShowStatus();
    void SetStatusText(int part, const CString& text);

    std::optional<MapSource> FindSource(const std::string& path, std::string& error);
    bool ShowMapOfSource(const MapChoice& wanted, bool isAddress, std::string& error);
    void WatchServers(bool isAddress, bool isKept);
    void ShowProblem(const std::string& text);

    CMapView m_view;
    DataSource m_local{"LOCAL", "", ""};  ///< the providers that were chosen last
    DataSource m_remote{"REMOTE", "", ""};
    std::string m_keepIn;
    CString m_lastAddress;     ///< of the dialog; may have keys that no file is to have
    bool m_isAddress = false;  ///< what is open
    bool m_isKept = false;     ///< and it is kept on this machine
    bool m_isScripted = false;
    std::string m_problem;
    CWnd m_toolbar;
    CWnd m_status;
    CString m_statusTexts[5];
};

}  // namespace Viewer

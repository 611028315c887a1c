#pragma once

#include <afxwin.h>

#include <optional>
#include <string>

#include "viewer/MapView.h"
#include "viewer/TextValues.h"

namespace Viewer {

/// What to show; the layer's default is the map's first, the centre's the middle of the map.
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

    /// Opens a map; else `error` is one line about what is wrong, and what was shown stays.
    bool Open(const MapChoice& choice, std::string& error);

    /// Makes the window as large as a map view of this size needs.
    void ResizeView(PixelSize size);

    /// "layers 1 to 4" of the open map.
    std::string LayerRangeText();

    /// Lets the user choose a map in the library's dialog and shows it.
    void ChooseMap();

protected:
    afx_msg void OnSize(UINT type, int cx, int cy);
    afx_msg void OnSetFocus(CWnd* former);
    afx_msg void OnGetMinMaxInfo(MINMAXINFO* info);
    afx_msg void OnTool(UINT command);
    afx_msg void OnLayer(UINT command);
    afx_msg void OnMapOpen();
    afx_msg void OnMapExit();
    afx_msg void OnAppInfo();
    BOOL PreTranslateMessage(MSG* message) override;
    DECLARE_MESSAGE_MAP()

private:
    bool CreateBars();
    void LayOut();
    void ShowStatus();
    void SetStatusText(int part, const CString& text);

    CMapView m_view;
    CWnd m_toolbar;
    CWnd m_status;
    CString m_statusTexts[4];
};

}  // namespace Viewer

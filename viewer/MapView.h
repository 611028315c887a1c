#pragma once

#include <afxwin.h>

#include <functional>
#include <memory>
#include <string>

#include "terrascope/api/ITerrascope.h"
#include "viewer/FrameBuffer.h"
#include "viewer/TextValues.h"

namespace Viewer {

/// What the view has painted and heard since the last ResetStatistics.
struct ViewStatistics {
    int frames = 0;
    double longestFrameMs = 0;
    int repaints = 0;          ///< repaint messages of the display
    double lastRepaintMs = 0;  ///< when the last of them came, after the reset
};

/// The window that shows one map display: forwards mouse and keys, paints without flicker.
/// The display paints nothing by itself: it posts kRepaintMessage, and the view invalidates.
///
/// Units:   client pixels, and map units where the name has Map.
/// Owns:    the display, which goes before the window's last messages are drained.
/// Threads: the user-interface thread.
/// Errors:  shown by results; without an open map the view is empty and ignores commands.
class CMapView : public CWnd {
public:
    CMapView();
    ~CMapView() override;

    bool MakeWindow(CWnd* parent, UINT id);

    /// Opens a map in a new display, since a display keeps its first-layer scale for life. False,
    /// and nothing changed, when there is no such map. Follow it with ShowLayer.
    bool OpenMap(const CString& name, double firstLayerScale);

    /// Shows a layer with the middle of the map in the middle; false when there is no such layer.
    bool ShowLayer(int layer);
    void ShowCenter(MapPoint center);

    /// Has the display look at its tiles again: what is still missing is fetched before all else.
    /// Posts one repaint message.
    void Refresh();

    void ShowWholeMap();

    void SelectTool(Terrascope::MapToolKind tool);
    Terrascope::MapToolKind Tool() const { return m_tool; }

    /// One animated step to a finer (positive) or coarser layer around a point of the view.
    void StepLayer(int direction, CPoint at);

    /// Moves the view by tenths of its size, x to the east, y to the north.
    void MoveByTenths(int x, int y);

    /// A line that is shown over the map, in the lower right corner; empty: none.
    void SetAttribution(const std::string& text);

    /// Null before the first OpenMap.
    Terrascope::ITerrascope* Display() { return m_display.get(); }

    /// Writes the view's picture of this moment as PNG; false when the file cannot be written.
    /// Counts as a painting: an animation goes on by it.
    bool SavePicture(const CString& file);

    /// The map point under the mouse; false when the mouse is outside the view or no map is open.
    bool PointUnderMouse(MapPoint& point);

    /// Nothing waits to be painted, nothing is animated, and no change came for the quiet time.
    /// Tiles may still be missing behind others that nobody wants any more: see WaitForPicture.
    bool IsQuiet();

    /// Servers take longer than files do: the quiet time is 2 s then, else 700 ms.
    void AwaitServers(bool isServer);

    void ResetStatistics();
    const ViewStatistics& Statistics() const { return m_statistics; }

    /// Called when the layer, the tool, the map or the point under the mouse may have changed.
    void SetStatusListener(std::function<void()> listener) { m_listener = std::move(listener); }

protected:
    afx_msg void OnDestroy();
    afx_msg void OnPaint();
    afx_msg BOOL OnEraseBkgnd(CDC* dc);
    afx_msg void OnSize(UINT type, int cx, int cy);
    afx_msg BOOL OnSetCursor(CWnd* window, UINT hitTest, UINT message);
    afx_msg void OnMouseMove(UINT flags, CPoint point);
    afx_msg void OnLButtonDown(UINT flags, CPoint point);
    afx_msg void OnLButtonUp(UINT flags, CPoint point);
    afx_msg BOOL OnMouseWheel(UINT flags, short delta, CPoint screenPoint);
    afx_msg void OnCaptureChanged(CWnd* window);
    afx_msg void OnKeyDown(UINT key, UINT repeat, UINT flags);
    afx_msg LRESULT OnRepaint(WPARAM rect, LPARAM);
    DECLARE_MESSAGE_MAP()

private:
    void Paint(const CRect& area);
    void PaintAttribution(CDC& dc);
    bool IsCovered();
    void EndPress();
    MapPoint Center();
    void NoteChange();

    std::unique_ptr<Terrascope::ITerrascope> m_display;
    CFrameBuffer m_frame;
    Terrascope::MapToolKind m_tool = Terrascope::MapToolKind::Pan;
    std::function<void()> m_listener;
    std::string m_attribution;
    bool m_pressed = false;  ///< the button went down in the view and has not come up
    CPoint m_lastPoint{0, 0};
    int m_wheel = 0;  ///< wheel movement that is not yet a whole notch
    double m_quietMs = 700;
    ViewStatistics m_statistics;
    LONGLONG m_resetTime = 0;   ///< performance counter at ResetStatistics
    LONGLONG m_changeTime = 0;  ///< performance counter at the last change of the picture
};

}  // namespace Viewer

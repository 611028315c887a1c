#pragma once

#include <afxwin.h>

#include <memory>

#include <terrascope/api/MapAssistant.h>

/// A window that shows one map: it passes paint, size and mouse messages on to a display of the
/// library, and repaints itself where the display reports a change.
///
/// Units:   client pixels; the display's own units are converted where it is called.
/// Owns:    the display, which goes with the window. The object deletes itself after the window, as
///          every CFrameWnd does: make it with `new`.
/// Threads: the user-interface thread.
class CMapWindow : public CFrameWnd {
public:
    /// Makes the window, still hidden, and shows the first layer of the map in its middle. False
    /// when the provider has no such map.
    bool Open(const CString& mapName);

    /// Paints the map on a device context of pixels. Nothing where the map has no tiles.
    void Paint(CDC& dc);

    /// The map point at the middle of a pixel.
    void MapPointAt(CPoint pixel, double& x, double& y);

protected:
    afx_msg void OnDestroy();
    afx_msg void OnPaint();
    afx_msg void OnSize(UINT type, int cx, int cy);
    afx_msg BOOL OnSetCursor(CWnd* window, UINT hitTest, UINT message);
    afx_msg void OnLButtonDown(UINT flags, CPoint point);
    afx_msg void OnMouseMove(UINT flags, CPoint point);
    afx_msg void OnLButtonUp(UINT flags, CPoint point);
    afx_msg LRESULT OnRepaint(WPARAM rect, LPARAM);
    DECLARE_MESSAGE_MAP()

private:
    std::unique_ptr<Terrascope::ITerrascope> m_display;  ///< null until Open, and after the window
    CSize m_size{0, 0};                                  ///< of the client area, in pixels
};

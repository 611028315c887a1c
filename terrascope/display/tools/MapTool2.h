#pragma once

#include <afxwin.h>

#include <atomic>

namespace Terrascope {

class CTerrascope2;

/// An interactive tool: what the mouse does on the map. One tool is current at a time.
///
/// Units:   device pixels of the host window.
/// Borrows: the display.
/// Threads: the user-interface thread; IsPressed may be asked on any.
class CMapTool2 {
public:
    explicit CMapTool2(CTerrascope2* display) : m_display(display) {}
    CMapTool2(const CMapTool2&) = delete;
    CMapTool2& operator=(const CMapTool2&) = delete;
    virtual ~CMapTool2() = default;

    virtual void OnMouseMove(UINT flags, CPoint point);

    /// Notes a press, if the point is on the map.
    virtual void OnLButtonDown(UINT flags, CPoint point);
    virtual void OnLButtonUp(UINT flags, CPoint point);

    /// Sets the tool's cursor; TRUE.
    virtual BOOL OnSetCursor();

    /// A MapToolKind.
    virtual int GetToolType() = 0;

    /// Whether the button went down on the map and has not come up.
    bool IsPressed() const { return m_pressed; }

protected:
    /// Whether a point lies in the map and in the view.
    bool IsOnMap(CPoint point) const;

    /// Zooms one layer at a point, in this tool's direction.
    void ZoomAt(CPoint point);

    /// Sets a cursor from the resources of the library.
    static BOOL SetCursorFromResource(UINT id);

    CTerrascope2* Display() const { return m_display; }

private:
    std::atomic<bool> m_pressed{false};
    CPoint m_downPoint{0, 0};
    CPoint m_upPoint{0, 0};
    CTerrascope2* m_display;
};

}  // namespace Terrascope

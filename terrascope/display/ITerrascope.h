#pragma once

#include <afxwin.h>

#include <utility>

#include "terrascope/display/Export.h"
#include "terrascope/support/PointF.h"

namespace Terrascope {

class CMapTool2;

/// The kinds of tool for ITerrascope::SetTool.
enum class MapToolKind : UINT { Arrow = 0, ZoomIn = 1, ZoomOut = 2, Pan = 3 };

/// The message that a display posts to its host window when a part of the picture has changed.
/// wParam: a RECT* in client pixels that the host invalidates and then deletes (`delete`, the
/// shared run-time heap); lParam: 0.
constexpr UINT kRepaintMessage = WM_USER + 1301;

/// A map display inside one window of the host; made by CMapAssistant::GetTerrascope.
///
/// Units:   device units are client pixels of the host window, y downwards; logical units are
///          those of CMapAssistant::DPToLP; map units are those of the map's extent, y upwards.
/// Owns:    its tiles, its off-screen bitmap and its worker threads. The host deletes the display
///          through this class, and must do so before it unloads the library.
/// Borrows: the host window, which may be destroyed before the display, or made anew: the display
///          finds the new window at its next call.
/// Threads: every call comes on the host's user-interface thread. The display never calls the
///          host back; it posts kRepaintMessage.
/// Errors:  shown by results. Only when memory runs out may a call throw (std::bad_alloc or the
///          framework's memory exception).
/// Ends:    the destructor waits for a tile fetch in progress (up to 10 s per loading thread).
///
/// The order of the virtual functions is part of the binary interface.
class TERRASCOPE_API ITerrascope {
public:
    ITerrascope() = default;
    ITerrascope(const ITerrascope&) {}
    ITerrascope& operator=(const ITerrascope&) { return *this; }
    virtual ~ITerrascope() {}

    /// Mouse messages over the map, in client pixels; they go to the current tool.
    virtual void OnMouseMove(UINT flags, CPoint point) = 0;
    virtual void OnLButtonDown(UINT flags, CPoint point) = 0;
    virtual void OnLButtonUp(UINT flags, CPoint point) = 0;

    /// Where the view's top-left corner lies in the host window, in pixels. Repaints nothing.
    virtual void SetViewOrigin(CPoint origin) = 0;

    /// The view's size in logical units; kept in pixels. Repaints nothing: follow it with
    /// SetCenter.
    virtual void SetViewSize(CSize size) = 0;

    /// Paints the view at (0, 0) of a device context whose logical units are those of
    /// CMapAssistant::DPToLP (MM_ANISOTROPIC, window extent 1000, viewport extent D).
    /// Transparent parts leave the background as it is.
    virtual void Draw(CDC* dc) = 0;

    /// Sets the current tool's cursor; the arguments are those of the host's own handler.
    /// Returns 0 when there is no tool.
    virtual BOOL OnSetCursor(CWnd* window, UINT hitTest, UINT message) = 0;

    /// Makes the tool of a MapToolKind current and returns it; an unknown kind is the arrow.
    virtual CMapTool2* SetTool(UINT kind) = 0;

    /// Reserved; returns 0.
    virtual int Reserved1() = 0;

    /// direction 0: (x, y) in device pixels to map units; 1: map units to device pixels; any
    /// other changes nothing. Always returns TRUE.
    virtual BOOL DeviceToMap(double* x, double* y, double* mapX, double* mapY, UINT direction) = 0;

    /// The same with whole pixels; map to device truncates toward zero.
    virtual BOOL DeviceToMapInt(int* x, int* y, double* mapX, double* mapY, UINT direction) = 0;

    /// (first layer, last layer) of the open map; (0, -1) when no map is open.
    virtual std::pair<int, int> GetLayerRange() = 0;

    /// Opens a map by name; FALSE, and nothing changed, when the provider has none of it.
    /// Loads and repaints nothing: follow it with SetLayer.
    virtual BOOL OpenMap(const CString& mapName) = 0;

    /// Shows a layer of the open map; FALSE when the map has no such layer.
    virtual BOOL SetLayer(UINT layerNumber) = 0;

    /// Moves the middle of the view to a map point, clamped so that the view shows as much of the
    /// map as it can, and repaints.
    virtual void SetCenter(const CPointF& point) = 0;

    /// Reserved; returns TRUE.
    virtual BOOL Reserved2() = 0;

    /// Whether an animated layer switch is running.
    virtual bool IsSwitchingLayer() = 0;

    /// The current layer's number; -1 before SetLayer.
    virtual int GetLayer() = 0;

    /// The open map's name; empty when none is open.
    virtual CString GetMapName() = 0;

    /// The open map's edges in map units (top above bottom). Always returns TRUE.
    virtual BOOL GetMapExtent(double* left, double* top, double* right, double* bottom) = 0;

    /// Both corners of a device rectangle in map units.
    virtual BOOL DeviceRectToMap(const CRect& rect, double* left, double* top, double* right,
                                 double* bottom) = 0;
};

}  // namespace Terrascope

#pragma once

#include <afxmt.h>
#include <afxwin.h>

#include <atomic>
#include <map>
#include <memory>

#include "ThreadAnnotations.h"
#include "terrascope/display/ILayerSwitchTool.h"
#include "terrascope/display/ITerrascope.h"
#include "terrascope/display/LayerSwitchThread.h"
#include "terrascope/display/MapBitmap.h"
#include "terrascope/display/MapTool2Factory.h"
#include "terrascope/display/ViewGeometry.h"
#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/support/GdiplusSession.h"
#include "terrascope/tiles/ITileLoadedSlot.h"
#include "terrascope/tiles/Tile2.h"
#include "terrascope/tiles/TileLayer2.h"
#include "terrascope/tiles/TileLoadQueue2.h"

namespace Terrascope {

/// What a layer switch does with the view.
enum class SwitchMode { None = 0, ZoomIn = 1, ZoomOut = 2 };

/// The moment before a layer switch, shown while the switch is animated.
struct LayerSwitchState {
    std::atomic<bool> switching{false};
    std::atomic<bool> painted{true};  ///< the host has painted the last step
    CCriticalSection lock;
    SwitchMode mode GUARDED_BY(lock) = SwitchMode::None;
    double targetFactor GUARDED_BY(lock) = 1.0;
    double currentFactor GUARDED_BY(lock) = 1.0;
    std::unique_ptr<CMapBitmap> oldBitmap GUARDED_BY(lock);
    CPointF oldBitmapOrigin GUARDED_BY(lock);
    CPointF oldCenter GUARDED_BY(lock);
    CTileLayer2 oldLayer GUARDED_BY(lock);
};

/// The one implementation of ITerrascope: a map, its current layer, the tiles about the view, and
/// the off-screen bitmap into which they are painted.
///
/// Owns:    tiles, bitmaps, the load queue with its threads, the tools, the switch thread.
/// Borrows: the host window. Only its handle is used, so it may be destroyed first.
/// Threads: all of ITerrascope on the user-interface thread; OnTileLoaded on the loading threads;
///          Step on the switch thread. The last two never touch the window, they post to it.
/// Locks:   tile lock -> bitmap lock -> switch lock -> view lock, in this order. The tile lock
///          guards the tiles; the bitmap lock the current bitmap and its origin; the switch lock
///          the switch state; the view lock the numbers of the viewport, is held only to copy
///          them. The queue's own lock may be taken under any of them. Members without a lock
///          belong to the user-interface thread. Tiles are decoded and painted under the tile and
///          bitmap locks.
/// Ends:    the destructor; its order is written there.
class CTerrascope2 : public ITerrascope, public ITileLoadedSlot, public ILayerSwitchTool {
public:
    CTerrascope2(CSize viewSize, CWnd* window, double scale);
    CTerrascope2(const CTerrascope2&) = delete;
    CTerrascope2& operator=(const CTerrascope2&) = delete;
    ~CTerrascope2() override;

    void OnMouseMove(UINT flags, CPoint point) override;
    void OnLButtonDown(UINT flags, CPoint point) override;
    void OnLButtonUp(UINT flags, CPoint point) override;
    void SetViewOrigin(CPoint origin) override;
    void SetViewSize(CSize size) override;
    void Draw(CDC* dc) override;
    BOOL OnSetCursor(CWnd* window, UINT hitTest, UINT message) override;
    CMapTool2* SetTool(UINT kind) override;
    int Reserved1() override { return 0; }
    BOOL DeviceToMap(double* x, double* y, double* mapX, double* mapY, UINT direction) override;
    BOOL DeviceToMapInt(int* x, int* y, double* mapX, double* mapY, UINT direction) override;
    std::pair<int, int> GetLayerRange() override;
    BOOL OpenMap(const CString& mapName) override;
    BOOL SetLayer(UINT layerNumber) override;
    void SetCenter(const CPointF& point) override;
    BOOL Reserved2() override { return TRUE; }
    bool IsSwitchingLayer() override { return m_switch.switching; }
    int GetLayer() override { return m_layer.nLayerNumber; }
    CString GetMapName() override { return m_map.strName; }
    BOOL GetMapExtent(double* left, double* top, double* right, double* bottom) override;
    BOOL DeviceRectToMap(const CRect& rect, double* left, double* top, double* right,
                         double* bottom) override;

    void OnTileLoaded(tagTILE_IMAGE* image) override;
    bool Step() override;

    // For the tools.

    /// Starts an animated switch to the next layer in the current tool's direction, about a map
    /// point. 0 when a switch is running or there is no further layer.
    int ZoomAt(CPointF point);

    /// Makes the tiles of the load region, drops the others, and renders the bitmap anew.
    void RefreshTiles();

    /// Whether a device point lies off the map or off the view.
    bool IsPointOutside(CPoint point);

    /// The centre as it is, without clamping, refreshing or repainting.
    void StoreCenter(const CPointF& point);
    CPointF Center() const;
    Viewport View() const;

private:
    using TileMap = std::map<CString, std::unique_ptr<CTile2>>;

    // Terrascope2.cpp
    bool LoadLayer(int layerNumber);
    void SetCurrentLayer(const CTileLayer2& layer);
    void NoteHostWindow();
    void PostRepaint(CRect rect, bool moveByOrigin);
    CMapTool2* Tool() const { return m_tool; }
    bool IsPanTool() const;
    bool IsDragging() const;
    CPoint MapToDevicePixels(double mapX, double mapY);

    // Terrascope2TileSet.cpp
    static CString KeyOf(int column, int row, int layerNumber);
    void ForgetFormerMap();
    void TakePreparedTilesLocked(TileMap& prepared) REQUIRES(m_tileLock);
    void RenderLocked() REQUIRES(m_tileLock);
    void PrepareBitmapLocked(const Viewport& view, const TileRange& range, const CPointF& origin)
        REQUIRES(m_tileLock, m_bitmapLock);
    bool ScrollBitmapLocked(CSize size, CSize slack, const CPointF& origin)
        REQUIRES(m_tileLock, m_bitmapLock);
    void PaintVisibleTilesLocked(const Viewport& view) REQUIRES(m_tileLock, m_bitmapLock);

    // Terrascope2Painting.cpp
    bool DrawSwitch(CDC& dc);
    void DrawAtRest(CDC& dc);
    void PaintBitmap(CDC& dc, CMapBitmap& bitmap, const PaintMoment& moment);

    // Terrascope2LayerSwitch.cpp
    void BeginLayerSwitch();
    double ZoomFactorOf(int layerNumber);
    void PrepareFinerTiles();
    void PrepareCoarserTiles();
    void FinishSwitchLocked() REQUIRES(m_switch.lock);

    const CGdiplusSession m_gdiplus;  ///< first in, last out: all below holds GDI+ objects

    std::unique_ptr<CLayerSwitchThread> m_switchThread;
    LayerSwitchState m_switch;

    std::unique_ptr<CMapBitmap> m_bitmap GUARDED_BY(m_bitmapLock);
    CPointF m_bitmapOrigin GUARDED_BY(m_bitmapLock);
    /// The layer, by number and tile count, that the bitmap shows.
    CTileLayer2 m_bitmapLayer GUARDED_BY(m_bitmapLock);
    CCriticalSection m_bitmapLock ACQUIRED_AFTER(m_tileLock);

    CWnd* const m_window;
    std::atomic<HWND> m_windowHandle;
    const double m_scale;
    tagTILE_MAP_INFO m_map;  ///< the open map; the default record until one is opened
    CTileLayer2 m_layer;
    CTileMapInfoProviderWrapper m_provider;
    std::unique_ptr<CTileLoadQueue2> m_queue;

    TileMap m_tiles GUARDED_BY(m_tileLock);
    TileMap m_zoomInTiles GUARDED_BY(m_tileLock);
    TileMap m_zoomOutTiles GUARDED_BY(m_tileLock);
    Viewport m_view GUARDED_BY(m_viewLock);
    CCriticalSection m_tileLock;
    mutable CCriticalSection m_viewLock;

    std::unique_ptr<CMapTool2Factory> m_toolFactory;
    std::atomic<CMapTool2*> m_tool{nullptr};  ///< owned by the factory
};

}  // namespace Terrascope

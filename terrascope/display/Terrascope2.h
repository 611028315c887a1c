#pragma once

#include <afxmt.h>
#include <afxwin.h>

#include <atomic>
#include <memory>
#include <optional>

#include "terrascope/display/HostWindow.h"
#include "terrascope/display/ILayerSwitchTool.h"
#include "terrascope/display/ITerrascope.h"
#include "terrascope/display/LayerSwitch.h"
#include "terrascope/display/LockOrder.h"
#include "terrascope/display/MapPicture.h"
#include "terrascope/display/TileSet.h"
#include "terrascope/display/TileShelf.h"
#include "terrascope/display/ViewGeometry.h"
#include "terrascope/display/tools/MapTool2Factory.h"
#include "terrascope/providers/TileMapInfoProviderWrapper.h"
#include "terrascope/support/GdiplusSession.h"
#include "terrascope/support/ThreadAnnotations.h"
#include "terrascope/tiles/ITileLoadedSlot.h"
#include "terrascope/tiles/TileLayer2.h"
#include "terrascope/tiles/TileLoadPolicy.h"
#include "terrascope/tiles/TileLoadQueue2.h"

namespace Terrascope {

/// The one implementation of ITerrascope: a map, its current layer, the tiles about the view, and
/// the off-screen bitmap into which they are painted.
///
/// Owns:    tiles, bitmaps, the load queue with its threads, the tools, the switch thread.
/// Borrows: the host window. Only its handle is used, so it may be destroyed first.
/// Threads: all of ITerrascope on the user-interface thread; OnTileLoaded on the loading threads;
///          Step on the switch thread. The last two never touch the window, they post to it.
/// Locks:   tile lock -> bitmap lock -> switch lock -> view lock, in this order. The tile set, the
///          picture and the layer switch have one each; the view lock guards the numbers of the
///          viewport and is held only to copy them. The queue's own lock may be taken under any of
///          them. Members without a lock belong to the user-interface thread. A loading
///          thread decodes before it takes any; tiles are painted under the tile and bitmap locks.
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
    bool IsSwitchingLayer() override { return m_switch.IsRunning(); }
    int GetLayer() override { return m_layer.nLayerNumber; }
    CString GetMapName() override { return m_map.strName; }
    BOOL GetMapExtent(double* left, double* top, double* right, double* bottom) override;
    BOOL DeviceRectToMap(const CRect& rect, double* left, double* top, double* right,
                         double* bottom) override;

    void OnTileLoaded(tagTILE_IMAGE* image) override;
    void OnTileFetched(tagTILE_IMAGE* image, const tagTILE_LOAD_REQUEST& request,
                       const DecodedImage& decoded) override;
    bool Step() override;

    // For the tools.

    /// Starts an animated switch to the next layer in the direction of a zoom tool, about a map
    /// point. 0 when a switch is running or there is no further layer; 1 and nothing else for a
    /// tool that does not zoom.
    int ZoomAt(CPointF point, MapToolKind tool);

    /// Makes the tiles of the load region, drops the others, and renders the bitmap anew.
    void RefreshTiles();

    /// Whether a device point lies off the map or off the view.
    bool IsPointOutside(CPoint point) const;

    /// The centre as it is, without clamping, refreshing or repainting.
    void StoreCenter(const CPointF& point);
    CPointF Center() const;
    Viewport View() const;

private:
    // Terrascope2.cpp
    bool LoadLayer(int layerNumber);
    void SetCurrentLayer(const CTileLayer2& layer);
    void ForgetFormerMap();
    void PostRepaintOfView();
    CMapTool2* Tool() const { return m_tool; }
    bool IsPanTool() const;
    bool IsDragging() const;

    // Terrascope2Tiles.cpp
    /// `promote`: the visible tiles are the next to be fetched.
    void RenderLocked(const Viewport& view, bool promote) TERRASCOPE_REQUIRES(m_tiles.Lock());
    void RenderWhatIsDue();
    bool IsPanning() const { return IsPanTool() && IsDragging(); }
    bool KeepsTilesBeyondView() const { return m_policy.fast || m_policy.cacheBytes > 0; }
    void PaintBeyondView();
    /// Has the visible tiles drawn; while the view is dragged, before them the others that are
    /// there.
    void ListTilesLocked(const Viewport& view, TilePaints& paints, const CPointF& origin,
                         bool promote) TERRASCOPE_REQUIRES(m_tiles.Lock());
    void LogRefusal(const TileRange& range);
    void LoadAheadLocked(const TileRange& visible) TERRASCOPE_REQUIRES(m_tiles.Lock());
    /// `request` may be null: then the record is current.
    void Deliver(std::unique_ptr<tagTILE_IMAGE> record, const tagTILE_LOAD_REQUEST* request,
                 const DecodedImage& decoded);
    /// What became of a delivered tile.
    struct Delivery {
        std::optional<CRect> place;     ///< of the host window, to be repainted
        const char* failure = nullptr;  ///< what was wrong with its image
        bool completesView = false;     ///< with FAST: nothing more comes for the view
    };
    Delivery GiveToTile(std::unique_ptr<tagTILE_IMAGE> record, const tagTILE_LOAD_REQUEST* request,
                        const DecodedImage& decoded);
    void PostRepaintOfTile(const CRect& place);

    // Terrascope2Zoom.cpp
    void BeginLayerSwitch(SwitchMode mode, const tagTILE_MAP_LAYER_INFO* next);
    void PrepareTiles(SwitchMode mode, const tagTILE_MAP_LAYER_INFO& next);

    const CGdiplusSession m_gdiplus;  ///< first in, last out: all below holds GDI+ objects

    const TileLoadPolicy m_policy;
    CHostWindow m_host;
    const double m_scale;
    tagTILE_MAP_INFO m_map;  ///< the open map; the default record until one is opened
    CTileLayer2 m_layer;
    bool m_refusalLogged = false;  ///< of this map: a region of too many tiles
    CTileMapInfoProviderWrapper m_provider;
    std::unique_ptr<CTileLoadQueue2> m_queue;

    CTileShelf m_shelf;
    CTileSet m_tiles;
    CMapPicture m_picture;
    std::optional<Viewport> m_dueView;  ///< of a rendering that waits for the end of a switch
    CLayerSwitch m_switch;
    std::unique_ptr<CDibSection> m_strip;  ///< scratch of Draw
    Viewport m_view TERRASCOPE_GUARDED_BY(m_viewLock);
    mutable CCriticalSection m_viewLock TERRASCOPE_ACQUIRED_AFTER(LockOrder::afterSwitch);

    std::unique_ptr<CMapTool2Factory> m_toolFactory;
    std::atomic<CMapTool2*> m_tool{nullptr};  ///< owned by the factory
};

}  // namespace Terrascope

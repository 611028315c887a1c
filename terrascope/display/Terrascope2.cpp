// The display's life, its slots, and what the other sources of the class share.
#include "terrascope/display/Terrascope2.h"

#include <cstdint>
#include <memory>

#include "terrascope/display/CenterPointAdjuster2.h"
#include "terrascope/display/DeviceUnits.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/Truncate.h"

namespace Terrascope {

CTerrascope2::CTerrascope2(CSize viewSize, CWnd* window, double scale)
    : m_policy(ReadTileLoadPolicy()),
      m_host(window, m_policy.fast),
      m_scale(scale),
      m_shelf(m_policy.cacheBytes),
      m_tiles(m_shelf),
      m_switch(*this,
               window != nullptr ? [this] { PostRepaintOfView(); } : CLayerSwitch::Repaint()) {
    SetViewSize(viewSize);
    m_toolFactory = std::make_unique<CMapTool2Factory>(this);
    m_tool = m_toolFactory->GetTool(static_cast<int>(MapToolKind::Pan));
    m_provider.SelectProvider();
    m_queue = std::make_unique<CTileLoadQueue2>(this, &m_provider, m_policy);
}

// Tiles and bitmap go first, under their locks: a loading thread that is still delivering then
// finds no tile and drops its record. The queue stops the loading threads; tools and switch thread
// go after it; a provider that can end its loads early is asked to at the start, so that they have
// ended by then. The current tool is taken away first, so that a step in progress is the last.
CTerrascope2::~CTerrascope2() {
    m_provider.CancelLoads();
    m_tool = nullptr;
    {
        CSingleLock tiles(&m_tiles.Lock(), TRUE);
        m_tiles.Clear();
        m_picture.Clear();
    }
    m_queue.reset();
    m_toolFactory.reset();
    m_switch.Stop();

    CSingleLock tiles(&m_tiles.Lock(), TRUE);
    m_tiles.ClearPrepared();
}

void CTerrascope2::OnMouseMove(UINT flags, CPoint point) {
    if (CMapTool2* tool = Tool()) {
        tool->OnMouseMove(flags, point);
    }
}

void CTerrascope2::OnLButtonDown(UINT flags, CPoint point) {
    if (CMapTool2* tool = Tool()) {
        m_queue->Pause();
        tool->OnLButtonDown(flags, point);
        PaintBeyondView();
    }
}

void CTerrascope2::OnLButtonUp(UINT flags, CPoint point) {
    if (CMapTool2* tool = Tool()) {
        m_queue->Resume();
        tool->OnLButtonUp(flags, point);
    }
    m_host.Refresh();
    m_host.PostWithheld();
}

void CTerrascope2::SetViewOrigin(CPoint origin) {
    CSingleLock lock(&m_viewLock, TRUE);
    m_view.origin = origin;
}

void CTerrascope2::SetViewSize(CSize size) {
    const float factor = ScreenDeviceFactor();
    const CSize pixels(LogicalToDevice(static_cast<int>(size.cx), factor),
                       LogicalToDevice(static_cast<int>(size.cy), factor));
    CSingleLock lock(&m_viewLock, TRUE);
    m_view.size = pixels;
}

BOOL CTerrascope2::OnSetCursor(CWnd*, UINT, UINT) {
    CMapTool2* tool = Tool();
    return tool != nullptr ? tool->OnSetCursor() : FALSE;
}

CMapTool2* CTerrascope2::SetTool(UINT kind) {
    m_tool = m_toolFactory->GetTool(static_cast<int>(kind));
    if (!IsDragging()) {
        m_host.PostWithheld();  // the former tool may never see its button come up
    }
    return Tool();
}

BOOL CTerrascope2::DeviceToMap(double* x, double* y, double* mapX, double* mapY, UINT direction) {
    if (direction == 0) {
        const PointD map = Terrascope::DeviceToMap(View(), {*x, *y});
        *mapX = map.x;
        *mapY = map.y;
    } else if (direction == 1) {
        const PointD device = MapToDevice(View(), {*mapX, *mapY});
        *x = device.x;
        *y = device.y;
    }
    return TRUE;
}

BOOL CTerrascope2::DeviceToMapInt(int* x, int* y, double* mapX, double* mapY, UINT direction) {
    double deviceX = *x;
    double deviceY = *y;
    const BOOL result = DeviceToMap(&deviceX, &deviceY, mapX, mapY, direction);
    *x = TruncateToInt(deviceX);
    *y = TruncateToInt(deviceY);
    return result;
}

std::pair<int, int> CTerrascope2::GetLayerRange() {
    const std::int64_t last = std::int64_t{m_map.nFirstLayer} + m_map.nLayerCount - 1;
    return {m_map.nFirstLayer, TruncateToInt(static_cast<double>(last))};
}

BOOL CTerrascope2::OpenMap(const CString& mapName) {
    const std::unique_ptr<tagTILE_MAP_INFO> record(m_provider.GetMapInfo(mapName));
    if (record == nullptr) {
        LogLine("map '%s': no provider has it", mapName.GetString());
        return FALSE;
    }
    ForgetFormerMap();
    m_map = *record;
    m_shelf.Open(m_provider.Identity(), m_map);
    {
        CSingleLock lock(&m_viewLock, TRUE);
        m_view.extent = {m_map.dLongitudeStart, m_map.dLatitudeStart, m_map.dLongitude,
                         m_map.dLatitude};
    }
    m_provider.SetCurrentMap(mapName, m_map.nFirstLayer, m_scale);
    LogLine("map '%s' opened: %d layers from %d", m_map.strName.GetString(), m_map.nLayerCount,
            m_map.nFirstLayer);
    return TRUE;
}

BOOL CTerrascope2::SetLayer(UINT layerNumber) {
    if (!LoadLayer(static_cast<int>(layerNumber))) {
        return FALSE;
    }
    // The y of the middle starts from x0, not y0. Hosts expect the centre that results; SetCenter
    // corrects it only as far as its clamping reaches.
    const double x = m_map.dLongitudeStart + m_map.dLongitude * 0.5;
    const double y = m_map.dLongitudeStart + m_map.dLatitude * 0.5;
    SetCenter({static_cast<float>(x), static_cast<float>(y)});
    return TRUE;
}

void CTerrascope2::SetCenter(const CPointF& point) {
    const Viewport view = View();
    StoreCenter(CCenterPointAdjuster2(&view.extent, &view.resolution, point, view.size).Adjusted());
    RefreshTiles();
}

BOOL CTerrascope2::GetMapExtent(double* left, double* top, double* right, double* bottom) {
    const MapExtent extent = View().extent;
    *left = extent.x0;
    *top = extent.Top();
    *right = extent.Right();
    *bottom = extent.y0;
    return TRUE;
}

BOOL CTerrascope2::DeviceRectToMap(const CRect& rect, double* left, double* top, double* right,
                                   double* bottom) {
    int x = rect.left;
    int y = rect.top;
    if (!DeviceToMapInt(&x, &y, left, top, 0)) {
        return FALSE;
    }
    x = rect.right;
    y = rect.bottom;
    return DeviceToMapInt(&x, &y, right, bottom, 0) ? TRUE : FALSE;
}

bool CTerrascope2::IsPointOutside(CPoint point) const {
    const Viewport view = View();
    const PointD map = Terrascope::DeviceToMap(view, {double(point.x), double(point.y)});
    if (map.x < view.extent.x0 || map.x > view.extent.Right() || map.y < view.extent.y0 ||
        map.y > view.extent.Top()) {
        return true;
    }
    return !CRect(view.origin, view.size).PtInRect(point);
}

void CTerrascope2::StoreCenter(const CPointF& point) {
    CSingleLock lock(&m_viewLock, TRUE);
    m_view.center = point;
}

CPointF CTerrascope2::Center() const {
    return View().center;
}

Viewport CTerrascope2::View() const {
    CSingleLock lock(&m_viewLock, TRUE);
    return m_view;
}

bool CTerrascope2::LoadLayer(int layerNumber) {
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> info(
        m_provider.GetLayerInfo(m_map.strName, layerNumber));
    if (info == nullptr) {
        LogLine("map '%s' has no layer %d", m_map.strName.GetString(), layerNumber);
        return false;
    }
    SetCurrentLayer(CTileLayer2(m_map, *info));
    return true;
}

void CTerrascope2::SetCurrentLayer(const CTileLayer2& layer) {
    m_layer = layer;
    CSingleLock lock(&m_viewLock, TRUE);
    m_view.resolution = {layer.dUnitsPerPixelX, layer.dUnitsPerPixelY};
    m_view.tileSize = CSize(layer.nTileWidth, layer.nTileHeight);
    m_view.tileCount = CSize(layer.nTileCountX, layer.nTileCountY);
}

// Keys do not name their map: the tiles of the former one must not be taken for the new one's.
void CTerrascope2::ForgetFormerMap() {
    {
        CSingleLock tiles(&m_tiles.Lock(), TRUE);
        m_tiles.Clear();
        m_tiles.ClearPrepared();
        m_queue->Clear();
    }
    m_picture.Forget();
    m_dueView.reset();
    m_switch.End();  // its picture is of the former map
    m_refusalLogged = false;
}

void CTerrascope2::PostRepaintOfView() {
    const Viewport view = View();
    m_host.PostRepaintOfView(CRect(view.origin, view.size));
}

bool CTerrascope2::IsPanTool() const {
    CMapTool2* tool = Tool();
    return tool != nullptr && tool->GetToolType() == static_cast<int>(MapToolKind::Pan);
}

bool CTerrascope2::IsDragging() const {
    const CMapTool2* tool = Tool();
    return tool != nullptr && tool->IsPressed();
}

}  // namespace Terrascope

#include "terrascope/display/tools/MapTool2.h"

#include "terrascope/display/Terrascope2.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

void CMapTool2::OnMouseMove(UINT, CPoint) {}

void CMapTool2::OnLButtonDown(UINT, CPoint point) {
    if (!IsOnMap(point)) {
        return;
    }
    m_downPoint = point;
    m_pressed = true;
}

void CMapTool2::OnLButtonUp(UINT, CPoint point) {
    m_upPoint = point;
    m_pressed = false;
}

BOOL CMapTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_ARROW);
}

bool CMapTool2::IsOnMap(CPoint point) const {
    return m_display != nullptr && !m_display->IsPointOutside(point);
}

void CMapTool2::ZoomAt(CPoint point) {
    if (!IsOnMap(point)) {
        return;
    }
    const PointD map = DeviceToMap(m_display->View(),
                                   {static_cast<double>(point.x), static_cast<double>(point.y)});
    m_display->ZoomAt({static_cast<float>(map.x), static_cast<float>(map.y)},
                      static_cast<MapToolKind>(GetToolType()));
}

BOOL CMapTool2::SetCursorFromResource(UINT id) {
    const char* name = MAKEINTRESOURCEA(id);
    const HINSTANCE module = AfxFindResourceHandle(name, RT_GROUP_CURSOR);
    ::SetCursor(::LoadCursorA(module, name));
    return TRUE;
}

}  // namespace Terrascope

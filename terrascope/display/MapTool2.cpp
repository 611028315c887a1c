#include "terrascope/display/MapTool2.h"

#include "terrascope/display/Terrascope2.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

void CMapTool2::OnMouseMove(UINT, CPoint) {}

void CMapTool2::OnLButtonDown(UINT, CPoint point) {
    if (!IsOnMap(point))
        return;
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
    return m_display && !m_display->IsPointOutside(point);
}

void CMapTool2::ZoomAt(CPoint point) const {
    if (!IsOnMap(point))
        return;
    int x = point.x;
    int y = point.y;
    double mapX = 0.0;
    double mapY = 0.0;
    m_display->DeviceToMapInt(&x, &y, &mapX, &mapY, 0);
    m_display->ZoomAt({static_cast<float>(mapX), static_cast<float>(mapY)});
}

BOOL CMapTool2::SetCursorFromResource(UINT id) {
    const char* name = MAKEINTRESOURCEA(id);
    const HINSTANCE module = AfxFindResourceHandle(name, RT_GROUP_CURSOR);
    ::SetCursor(::LoadCursorA(module, name));
    return TRUE;
}

}  // namespace Terrascope

#include "terrascope/display/PanTool2.h"

#include <climits>

#include "terrascope/display/OffsetCalculator.h"
#include "terrascope/display/Terrascope2.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

namespace {

PointD MapPointAt(CTerrascope2& display, CPoint device) {
    int x = device.x;
    int y = device.y;
    PointD map;
    display.DeviceToMapInt(&x, &y, &map.x, &map.y, 0);
    return map;
}

}  // namespace

void CPanTool2::OnMouseMove(UINT, CPoint point) {
    if (!IsPressed() || !Display())
        return;
    const CSize shift = PermittedShift(point - m_lastPoint);
    const PointD before = MapPointAt(*Display(), m_lastPoint);
    const PointD after = MapPointAt(*Display(), m_lastPoint + shift);
    const CPointF moved(static_cast<float>(after.x - before.x),
                        static_cast<float>(after.y - before.y));
    Display()->StoreCenter(Display()->Center() - moved);
    // The real point, not the permitted one: beyond an edge the map waits for the mouse to return.
    m_lastPoint = point;
}

void CPanTool2::OnLButtonDown(UINT flags, CPoint point) {
    CMapTool2::OnLButtonDown(flags, point);
    m_lastPoint = point;
}

void CPanTool2::OnLButtonUp(UINT flags, CPoint point) {
    CMapTool2::OnLButtonUp(flags, point);
    if (Display())
        Display()->RefreshTiles();
}

BOOL CPanTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_PAN);
}

int CPanTool2::GetToolType() {
    return static_cast<int>(MapToolKind::Pan);
}

CSize CPanTool2::PermittedShift(CSize shift) const {
    const Viewport view = Display()->View();
    const CSize layer = LayerPixelSize(view);
    if (layer.cx == INT_MAX || layer.cy == INT_MAX)
        return shift;  // wider than the calculator's numbers: its edges are far away
    COffsetCalculator calculator;
    calculator.SetViewSize(view.size);
    calculator.SetLayerSize(layer);
    calculator.SetMapPosition(MapCornerPosition(view));
    calculator.SetOffset(shift);
    return calculator.PermittedOffset();
}

}  // namespace Terrascope

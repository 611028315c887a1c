#include "terrascope/display/tools/PanTool2.h"

#include "terrascope/display/Terrascope2.h"
#include "terrascope/display/tools/OffsetCalculator.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

namespace {

PointD MapPointAt(const Viewport& view, CPoint device) {
    return DeviceToMap(view, {static_cast<double>(device.x), static_cast<double>(device.y)});
}

}  // namespace

void CPanTool2::OnMouseMove(UINT, CPoint point) {
    if (!IsPressed() || Display() == nullptr) {
        return;
    }
    const Viewport view = Display()->View();
    const CSize shift = PermittedShift(view, point - m_lastPoint);
    const PointD before = MapPointAt(view, m_lastPoint);
    const PointD after = MapPointAt(view, m_lastPoint + shift);
    const CPointF moved(static_cast<float>(after.x - before.x),
                        static_cast<float>(after.y - before.y));
    Display()->StoreCenter(view.center - moved);
    // The real point, not the permitted one: beyond an edge the map waits for the mouse to return.
    m_lastPoint = point;
}

void CPanTool2::OnLButtonDown(UINT flags, CPoint point) {
    CMapTool2::OnLButtonDown(flags, point);
    m_lastPoint = point;
}

void CPanTool2::OnLButtonUp(UINT flags, CPoint point) {
    CMapTool2::OnLButtonUp(flags, point);
    if (Display() != nullptr) {
        Display()->RefreshTiles();
    }
}

BOOL CPanTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_PAN);
}

int CPanTool2::GetToolType() {
    return static_cast<int>(MapToolKind::Pan);
}

CSize CPanTool2::PermittedShift(const Viewport& view, CSize shift) {
    const LayerPlace layer = PlaceOfLayer(view);
    COffsetCalculator calculator;
    calculator.SetViewSize(view.size);
    calculator.SetLayerSize(layer.size);
    calculator.SetMapPosition(layer.corner);
    calculator.SetOffset(shift);
    return calculator.PermittedOffset();
}

}  // namespace Terrascope

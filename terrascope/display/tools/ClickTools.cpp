#include "terrascope/display/tools/ClickTools.h"

#include "terrascope/display/ITerrascope.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

BOOL CArrowTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_ARROW);
}

int CArrowTool2::GetToolType() {
    return static_cast<int>(MapToolKind::Arrow);
}

void CZoomInTool2::OnLButtonDown(UINT flags, CPoint point) {
    CMapTool2::OnLButtonDown(flags, point);
    ZoomAt(point);
}

BOOL CZoomInTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_ZOOM_IN);
}

int CZoomInTool2::GetToolType() {
    return static_cast<int>(MapToolKind::ZoomIn);
}

void CZoomOutTool2::OnLButtonDown(UINT flags, CPoint point) {
    CMapTool2::OnLButtonDown(flags, point);
    ZoomAt(point);
}

BOOL CZoomOutTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_ZOOM_OUT);
}

int CZoomOutTool2::GetToolType() {
    return static_cast<int>(MapToolKind::ZoomOut);
}

}  // namespace Terrascope

#include "terrascope/display/ZoomOutTool2.h"

#include "terrascope/display/ITerrascope.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

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

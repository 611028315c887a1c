#include "terrascope/display/ZoomInTool2.h"

#include "terrascope/display/ITerrascope.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

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

}  // namespace Terrascope

#include "terrascope/display/ArrowTool2.h"

#include "terrascope/display/ITerrascope.h"
#include "terrascope/resources/resource.h"

namespace Terrascope {

BOOL CArrowTool2::OnSetCursor() {
    return SetCursorFromResource(IDC_TERRASCOPE_ARROW);
}

int CArrowTool2::GetToolType() {
    return static_cast<int>(MapToolKind::Arrow);
}

}  // namespace Terrascope

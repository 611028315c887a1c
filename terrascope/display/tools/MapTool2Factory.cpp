#include "terrascope/display/tools/MapTool2Factory.h"

#include <new>

#include "terrascope/display/ITerrascope.h"
#include "terrascope/display/tools/ClickTools.h"
#include "terrascope/display/tools/PanTool2.h"

namespace Terrascope {

namespace {

template <class Tool>
CMapTool2* Cached(std::unique_ptr<CMapTool2>& slot, CTerrascope2* display) {
    if (!slot) {
        slot.reset(new (std::nothrow) Tool(display));
    }
    return slot.get();
}

}  // namespace

CMapTool2* CMapTool2Factory::GetTool(int type) {
    switch (static_cast<MapToolKind>(type)) {
        case MapToolKind::ZoomIn:
            return Cached<CZoomInTool2>(m_zoomIn, m_display);
        case MapToolKind::ZoomOut:
            return Cached<CZoomOutTool2>(m_zoomOut, m_display);
        case MapToolKind::Pan:
            return Cached<CPanTool2>(m_pan, m_display);
        case MapToolKind::Arrow:
        default:
            return Cached<CArrowTool2>(m_arrow, m_display);
    }
}

}  // namespace Terrascope

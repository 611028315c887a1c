#pragma once

#include "terrascope/display/MapTool2.h"

namespace Terrascope {

/// Zooms one layer out at each click on the map.
class CZoomOutTool2 : public CMapTool2 {
public:
    using CMapTool2::CMapTool2;

    void OnLButtonDown(UINT flags, CPoint point) override;
    BOOL OnSetCursor() override;
    int GetToolType() override;
};

}  // namespace Terrascope

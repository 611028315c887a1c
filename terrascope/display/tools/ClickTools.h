#pragma once

#include "terrascope/display/tools/MapTool2.h"

namespace Terrascope {

/// Does nothing but show where the mouse is.
class CArrowTool2 : public CMapTool2 {
public:
    using CMapTool2::CMapTool2;

    BOOL OnSetCursor() override;
    int GetToolType() override;
};

/// Zooms one layer in at each click on the map.
class CZoomInTool2 : public CMapTool2 {
public:
    using CMapTool2::CMapTool2;

    void OnLButtonDown(UINT flags, CPoint point) override;
    BOOL OnSetCursor() override;
    int GetToolType() override;
};

/// Zooms one layer out at each click on the map.
class CZoomOutTool2 : public CMapTool2 {
public:
    using CMapTool2::CMapTool2;

    void OnLButtonDown(UINT flags, CPoint point) override;
    BOOL OnSetCursor() override;
    int GetToolType() override;
};

}  // namespace Terrascope

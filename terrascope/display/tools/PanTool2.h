#pragma once

#include "terrascope/display/ViewGeometry.h"
#include "terrascope/display/tools/MapTool2.h"

namespace Terrascope {

/// Drags the map. While the button is down only the view's centre moves (the host repaints); the
/// tiles that came into view are made and asked for when it comes up.
class CPanTool2 : public CMapTool2 {
public:
    using CMapTool2::CMapTool2;

    void OnMouseMove(UINT flags, CPoint point) override;
    void OnLButtonDown(UINT flags, CPoint point) override;
    void OnLButtonUp(UINT flags, CPoint point) override;
    BOOL OnSetCursor() override;
    int GetToolType() override;

private:
    /// The shift that the map's edges permit.
    static CSize PermittedShift(const Viewport& view, CSize shift);

    CPoint m_lastPoint{0, 0};
};

}  // namespace Terrascope

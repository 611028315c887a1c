#pragma once

#include "terrascope/display/MapTool2.h"

namespace Terrascope {

/// Does nothing but show where the mouse is.
class CArrowTool2 : public CMapTool2 {
public:
    using CMapTool2::CMapTool2;

    BOOL OnSetCursor() override;
    int GetToolType() override;
};

}  // namespace Terrascope

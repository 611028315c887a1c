#pragma once

#include <memory>

#include "terrascope/display/tools/MapTool2.h"

namespace Terrascope {

/// Makes a display's four tools, each when it is first asked for.
///
/// Owns:    the tools. Borrows: the display.
/// Threads: the user-interface thread.
class CMapTool2Factory {
public:
    explicit CMapTool2Factory(CTerrascope2* display) : m_display(display) {}
    CMapTool2Factory(const CMapTool2Factory&) = delete;
    CMapTool2Factory& operator=(const CMapTool2Factory&) = delete;
    virtual ~CMapTool2Factory() = default;

    /// The tool of a MapToolKind, the same object each time; any other number gives the arrow.
    /// Null when memory is short.
    CMapTool2* GetTool(int type);

private:
    std::unique_ptr<CMapTool2> m_arrow;
    std::unique_ptr<CMapTool2> m_zoomIn;
    std::unique_ptr<CMapTool2> m_zoomOut;
    std::unique_ptr<CMapTool2> m_pan;
    CTerrascope2* m_display;
};

}  // namespace Terrascope

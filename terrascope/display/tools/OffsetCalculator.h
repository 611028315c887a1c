#pragma once

#include <afxwin.h>

namespace Terrascope {

/// How far a drag may move the map: a map larger than the view keeps covering it, a smaller one
/// stays wholly visible.
///
/// Units: device pixels, y downwards; everything is zero until set.
class COffsetCalculator : public CObject {
public:
    COffsetCalculator() = default;

    void SetViewSize(CSize size) { m_viewSize = size; }
    void SetLayerSize(CSize size) { m_layerSize = size; }
    /// The shift that the user asks for.
    void SetOffset(CSize offset) { m_offset = offset; }
    /// Where the map's top-left corner lies, relative to the view.
    void SetMapPosition(CPoint position) { m_mapPosition = position; }

    /// The part of the shift that is permitted.
    CSize PermittedOffset() const;

private:
    CSize m_viewSize{0, 0};
    CSize m_layerSize{0, 0};
    CSize m_offset{0, 0};
    CPoint m_mapPosition{0, 0};
};

}  // namespace Terrascope

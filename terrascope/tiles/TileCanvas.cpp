#include "terrascope/tiles/TileCanvas.h"

#include <algorithm>
#include <cstring>

namespace Terrascope {

void CTileCanvas::Paint(const CTilePicture& picture, CPoint at) {
    CRect part;
    if (!part.IntersectRect(CRect(at, picture.Size()), Bounds())) {
        return;
    }
    const std::size_t bytes = static_cast<std::size_t>(part.Width()) * sizeof(std::uint32_t);
    for (int y = part.top; y < part.bottom; ++y) {
        std::memcpy(Place(part.left, y), picture.Row(y - at.y) + (part.left - at.x), bytes);
    }
    m_painted.Add(part);
}

void CTileCanvas::Fill(const CRect& rect, std::uint32_t colour) {
    CRect part;
    if (!part.IntersectRect(&rect, Bounds())) {
        return;
    }
    for (int y = part.top; y < part.bottom; ++y) {
        std::fill_n(Place(part.left, y), part.Width(), colour);
    }
    m_painted.Add(part);
}

}  // namespace Terrascope

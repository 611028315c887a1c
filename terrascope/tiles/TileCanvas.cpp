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
    if (part.IntersectRect(&rect, Bounds())) {
        m_painted.AddPlain(part, colour);
    }
}

void CTileCanvas::Paint(const TilePaints& paints) {
    for (const TilePaint& paint : paints) {
        if (paint.picture != nullptr) {
            Paint(*paint.picture, paint.place.TopLeft());
        } else {
            Fill(paint.place, kWaitingGrey);
        }
    }
}

void CTileCanvas::Settle(const CRect& rect) {
    for (const PlainRect& plain : m_painted.PlainWithin(rect)) {
        const CRect& part = plain.rect;
        for (int y = part.top; y < part.bottom; ++y) {
            std::fill_n(Place(part.left, y), part.Width(), plain.colour);
        }
        m_painted.Add(part);
    }
}

}  // namespace Terrascope

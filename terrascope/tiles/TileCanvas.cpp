#include "terrascope/tiles/TileCanvas.h"

#include <algorithm>
#include <cstring>

namespace Terrascope {

namespace {

constexpr std::size_t kMostPictures = 512;
constexpr std::size_t kSmall = std::size_t{32} * 32;  // pixels: looking for it costs as much

void CopyRows(const CTilePicture& picture, CPoint corner, const CRect& part,
              const PixelView& target, CPoint from) {
    const std::size_t bytes = static_cast<std::size_t>(part.Width()) * sizeof(std::uint32_t);
    for (int y = part.top; y < part.bottom; ++y) {
        std::memcpy(target.Row(y - from.y) + (part.left - from.x),
                    picture.Row(y - corner.y) + (part.left - corner.x), bytes);
    }
}

}  // namespace

void CTileCanvas::Paint(const CTilePicture& picture, CPoint at) {
    CRect part;
    if (part.IntersectRect(CRect(at, picture.Size()), Bounds())) {
        CopyRows(picture, at, part, m_target, {0, 0});
        m_painted.Add(part);
    }
}

void CTileCanvas::Place(const std::shared_ptr<const CTilePicture>& picture, CPoint at) {
    if (picture->PixelCount() < kSmall) {
        Paint(*picture, at);
        return;
    }
    CRect part;
    if (!part.IntersectRect(CRect(at, picture->Size()), Bounds())) {
        return;
    }
    m_painted.AddPicture({part, at, picture});
    if (m_painted.Pictures().size() > kMostPictures) {
        const CRect oldest = m_painted.Pictures().front().part;
        Settle(oldest);
        m_painted.ForgetPictures(oldest);  // it may be hidden, or memory short
    }
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
            Place(paint.picture, paint.place.TopLeft());
        } else {
            Fill(paint.place, kWaitingGrey);
        }
    }
}

void CTileCanvas::Settle(const CRect& rect) {
    for (const PlainRect& plain : m_painted.PlainWithin(rect)) {
        const CRect& part = plain.rect;
        for (int y = part.top; y < part.bottom; ++y) {
            std::fill_n(m_target.Row(y) + part.left, part.Width(), plain.colour);
        }
        m_painted.Add(part);
    }
    const std::vector<CRect> pictured = m_painted.PicturesWithin(rect);
    for (const CRect& part : pictured) {
        CopyPictures(m_painted, part, m_target, {0, 0});
    }
    for (const CRect& part : pictured) {
        m_painted.Add(part);
    }
}

void CopyPictures(const CPaintedArea& area, const CRect& rect, const PixelView& target,
                  CPoint from) {
    for (const PlacedPicture& each : area.Pictures()) {
        CRect part;
        if (part.IntersectRect(&each.part, &rect)) {
            CopyRows(*each.picture, each.corner, part, target, from);
        }
    }
}

}  // namespace Terrascope

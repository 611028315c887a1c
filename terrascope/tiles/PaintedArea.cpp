#include "terrascope/tiles/PaintedArea.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Terrascope {

namespace {

bool IsEmpty(const CRect& rect) {
    return rect.left >= rect.right || rect.top >= rect.bottom;
}

CRegionHandle RegionOf(const CRect& rect) {
    return CRegionHandle(::CreateRectRgnIndirect(&rect));
}

std::vector<CRect> RectanglesOf(HRGN region) {
    const DWORD bytes = ::GetRegionData(region, 0, nullptr);
    if (bytes == 0) {
        return {};
    }
    std::vector<std::byte> buffer(bytes);
    auto* data = reinterpret_cast<RGNDATA*>(buffer.data());
    if (::GetRegionData(region, bytes, data) == 0) {
        return {};
    }
    const auto* first = reinterpret_cast<const RECT*>(data->Buffer);
    return {first, first + data->rdh.nCount};
}

/// Whether a region is one rectangle that holds another.
bool IsRectangleAbout(const CRegionHandle& region, const CRect& rect) {
    CRect box;
    return region && ::GetRgnBox(region.Get(), &box) == SIMPLEREGION && box.left <= rect.left &&
           box.top <= rect.top && box.right >= rect.right && box.bottom >= rect.bottom;
}

void Join(CRegionHandle& region, const CRect& rect) {
    CRegionHandle added = RegionOf(rect);
    if (!region) {
        region = std::move(added);
    } else if (added) {
        ::CombineRgn(region.Get(), region.Get(), added.Get(), RGN_OR);
    }
}

/// An empty region ends.
void Cut(CRegionHandle& region, const CRect& rect) {
    if (region && ::RectInRegion(region.Get(), &rect)) {
        const CRegionHandle cut = RegionOf(rect);
        if (!cut || ::CombineRgn(region.Get(), region.Get(), cut.Get(), RGN_DIFF) <= NULLREGION) {
            region.Reset();
        }
    }
}

void MoveWithin(CRegionHandle& region, int dx, int dy, const CRect& bounds) {
    if (!region) {
        return;
    }
    const CRegionHandle limit = RegionOf(bounds);
    if (!limit || ::OffsetRgn(region.Get(), dx, dy) == ERROR ||
        ::CombineRgn(region.Get(), region.Get(), limit.Get(), RGN_AND) <= NULLREGION) {
        region.Reset();
    }
}

std::vector<CRect> Common(const CRegionHandle& region, const CRect& rect) {
    if (!region) {
        return {};
    }
    const CRegionHandle result = RegionOf(rect);
    if (!result || ::CombineRgn(result.Get(), result.Get(), region.Get(), RGN_AND) <= NULLREGION) {
        return {};
    }
    return RectanglesOf(result.Get());
}

}  // namespace

void CPaintedArea::Add(const CRect& rect) {
    if (IsEmpty(rect)) {
        return;
    }
    for (PlainArea& plain : m_plain) {
        Cut(plain.region, rect);
    }
    Cut(m_pictured, rect);
    DropPicturesUnder(rect);
    if (!IsRectangleAbout(m_region, rect)) {
        Join(m_region, rect);
    }
}

void CPaintedArea::AddPlain(const CRect& rect, std::uint32_t colour) {
    if (IsEmpty(rect)) {
        return;
    }
    Cut(m_region, rect);
    Cut(m_pictured, rect);
    DropPicturesUnder(rect);
    PlainArea* own = nullptr;
    for (PlainArea& plain : m_plain) {
        if (plain.colour == colour) {
            own = &plain;
        } else {
            Cut(plain.region, rect);
        }
    }
    if (own == nullptr) {
        own = &m_plain.emplace_back(PlainArea{colour, CRegionHandle()});
    }
    Join(own->region, rect);
}

void CPaintedArea::AddPicture(PlacedPicture picture) {
    const CRect part = picture.part;
    if (IsEmpty(part)) {
        return;
    }
    if (m_pictures.size() == m_pictures.capacity()) {
        m_pictures.reserve(2 * m_manyPictures);  // throws before anything has changed
    }
    Cut(m_region, part);
    for (PlainArea& plain : m_plain) {
        Cut(plain.region, part);
    }
    DropPicturesUnder(part);
    m_pictures.push_back(std::move(picture));
    if (!IsRectangleAbout(m_pictured, part)) {
        Join(m_pictured, part);
    }
    if (m_pictures.size() >= m_manyPictures) {
        DropHiddenPictures();
        m_manyPictures = std::max(m_manyPictures, 2 * m_pictures.size());
    }
}

/// Those that others cover together: a pan leaves them where places differ by a pixel.
void CPaintedArea::DropHiddenPictures() {
    CRegionHandle seen = RegionOf(CRect(0, 0, 0, 0));
    if (!seen || !m_pictured ||
        ::CombineRgn(seen.Get(), m_pictured.Get(), nullptr, RGN_COPY) == ERROR) {
        return;
    }
    std::vector<bool> isShown(m_pictures.size());
    for (std::size_t i = m_pictures.size(); i-- > 0;) {
        const CRect& part = m_pictures[i].part;
        isShown[i] = ::RectInRegion(seen.Get(), &part) != FALSE;
        const CRegionHandle cut = RegionOf(part);
        if (!cut || ::CombineRgn(seen.Get(), seen.Get(), cut.Get(), RGN_DIFF) == ERROR) {
            return;
        }
    }
    std::size_t at = 0;
    std::erase_if(m_pictures, [&](const PlacedPicture&) { return !isShown[at++]; });
}

// The parts under what came later belong to that.
void CPaintedArea::AddPicturesOf(const CPaintedArea& other) {
    if (!other.m_pictured) {
        return;
    }
    for (const CRect& part : RectanglesOf(other.m_pictured.Get())) {
        for (PlacedPicture picture : other.m_pictures) {
            const CRect whole = picture.part;
            picture.part.IntersectRect(&whole, &part);
            AddPicture(std::move(picture));
        }
    }
}

void CPaintedArea::ForgetPictures(const CRect& rect) {
    Cut(m_pictured, rect);
    DropPicturesUnder(rect);
}

void CPaintedArea::DropPicturesUnder(const CRect& rect) {
    std::erase_if(m_pictures, [&](const PlacedPicture& each) {
        return each.part.left >= rect.left && each.part.top >= rect.top &&
               each.part.right <= rect.right && each.part.bottom <= rect.bottom;
    });
}

void CPaintedArea::Clear() {
    m_region.Reset();
    m_plain.clear();
    m_pictured.Reset();
    m_pictures.clear();
}

void CPaintedArea::Move(int dx, int dy, const CRect& bounds) {
    MoveWithin(m_region, dx, dy, bounds);
    for (PlainArea& plain : m_plain) {
        MoveWithin(plain.region, dx, dy, bounds);
    }
    MoveWithin(m_pictured, dx, dy, bounds);
    for (PlacedPicture& each : m_pictures) {
        CRect moved = each.part;
        moved.OffsetRect(dx, dy);
        each.part.IntersectRect(&moved, &bounds);
        each.corner.Offset(dx, dy);
    }
    std::erase_if(m_pictures, [](const PlacedPicture& each) { return IsEmpty(each.part); });
}

CRect CPaintedArea::BoxOfPixels() const {
    CRect box(0, 0, 0, 0);
    if (m_region) {
        ::GetRgnBox(m_region.Get(), &box);
    }
    return box;
}

std::vector<CRect> CPaintedArea::Within(const CRect& rect) const {
    return Common(m_region, rect);
}

std::vector<PlainRect> CPaintedArea::PlainWithin(const CRect& rect) const {
    std::vector<PlainRect> parts;
    for (const PlainArea& plain : m_plain) {
        for (const CRect& part : Common(plain.region, rect)) {
            parts.push_back({part, plain.colour});
        }
    }
    return parts;
}

std::vector<CRect> CPaintedArea::PicturesWithin(const CRect& rect) const {
    return Common(m_pictured, rect);
}

std::vector<CRect> CPaintedArea::Missing(const CRect& rect) const {
    CRegionHandle result = RegionOf(rect);
    const auto without = [&](const CRegionHandle& region) {
        if (result && region &&
            ::CombineRgn(result.Get(), result.Get(), region.Get(), RGN_DIFF) == ERROR) {
            result.Reset();
        }
    };
    without(m_region);
    for (const PlainArea& plain : m_plain) {
        without(plain.region);
    }
    without(m_pictured);
    return result ? RectanglesOf(result.Get()) : std::vector<CRect>();
}

}  // namespace Terrascope

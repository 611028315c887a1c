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
    if (!IsRectangleAbout(m_region, rect)) {
        Join(m_region, rect);
    }
}

void CPaintedArea::AddPlain(const CRect& rect, std::uint32_t colour) {
    if (IsEmpty(rect)) {
        return;
    }
    Cut(m_region, rect);
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

void CPaintedArea::Clear() {
    m_region.Reset();
    m_plain.clear();
}

void CPaintedArea::Move(int dx, int dy, const CRect& bounds) {
    MoveWithin(m_region, dx, dy, bounds);
    for (PlainArea& plain : m_plain) {
        MoveWithin(plain.region, dx, dy, bounds);
    }
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
    return result ? RectanglesOf(result.Get()) : std::vector<CRect>();
}

}  // namespace Terrascope

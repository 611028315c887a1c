#include "terrascope/tiles/PaintedArea.h"

#include <cstddef>

namespace Terrascope {

namespace {

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

}  // namespace

void CPaintedArea::Add(const CRect& rect) {
    if (rect.left >= rect.right || rect.top >= rect.bottom) {
        return;
    }
    CRegionHandle added = RegionOf(rect);
    if (!m_region) {
        m_region = std::move(added);
    } else if (added) {
        ::CombineRgn(m_region.Get(), m_region.Get(), added.Get(), RGN_OR);
    }
}

void CPaintedArea::Clear() {
    m_region.Reset();
}

void CPaintedArea::Move(int dx, int dy, const CRect& bounds) {
    if (!m_region) {
        return;
    }
    const CRegionHandle limit = RegionOf(bounds);
    if (::OffsetRgn(m_region.Get(), dx, dy) == ERROR ||
        ::CombineRgn(m_region.Get(), m_region.Get(), limit.Get(), RGN_AND) == ERROR) {
        Clear();
    }
}

std::vector<CRect> CPaintedArea::Within(const CRect& rect) const {
    return m_region ? Combined(rect, RGN_AND) : std::vector<CRect>();
}

std::vector<CRect> CPaintedArea::Missing(const CRect& rect) const {
    return m_region ? Combined(rect, RGN_DIFF) : std::vector<CRect>{rect};
}

std::vector<CRect> CPaintedArea::Combined(const CRect& rect, int mode) const {
    const CRegionHandle result = RegionOf(rect);
    if (!result || ::CombineRgn(result.Get(), result.Get(), m_region.Get(), mode) <= NULLREGION) {
        return {};
    }
    return RectanglesOf(result.Get());
}

}  // namespace Terrascope

#include "terrascope/tiles/TileCanvas.h"

#include <algorithm>
#include <cstring>

namespace Terrascope {

void CTileCanvas::Paint(Gdiplus::Bitmap& picture, CPoint at, CSize size) {
    const std::int64_t left = std::max<std::int64_t>(at.x, 0);
    const std::int64_t top = std::max<std::int64_t>(at.y, 0);
    const std::int64_t right = std::min<std::int64_t>(std::int64_t{at.x} + size.cx, m_target.width);
    const std::int64_t bottom =
        std::min<std::int64_t>(std::int64_t{at.y} + size.cy, m_target.height);
    if (left >= right || top >= bottom) {
        return;
    }

    const Gdiplus::Rect part(static_cast<INT>(left - at.x), static_cast<INT>(top - at.y),
                             static_cast<INT>(right - left), static_cast<INT>(bottom - top));
    Gdiplus::BitmapData data{};
    if (picture.LockBits(&part, Gdiplus::ImageLockModeRead, PixelFormat32bppARGB, &data) !=
        Gdiplus::Ok) {
        return;
    }

    const auto* from = static_cast<const std::byte*>(data.Scan0);
    std::uint32_t* to = m_target.pixels + top * m_target.stride + left;
    const std::size_t bytes = static_cast<std::size_t>(right - left) * sizeof(std::uint32_t);
    for (std::int64_t y = top; y < bottom; ++y) {
        std::memcpy(to, from, bytes);
        from += data.Stride;
        to += m_target.stride;
    }
    picture.UnlockBits(&data);
    m_painted.Add(CRect(static_cast<int>(left), static_cast<int>(top), static_cast<int>(right),
                        static_cast<int>(bottom)));
}

}  // namespace Terrascope

#include "terrascope/display/MapBitmap.h"

#include <algorithm>
#include <cstring>

namespace Terrascope {

namespace {

constexpr std::uint32_t kPanGrey = 0xFF808080;

}  // namespace

std::unique_ptr<CMapBitmap> CMapBitmap::Create(CSize size, CSize slack) {
    if (size.cx <= 0 || size.cy <= 0)
        return nullptr;
    std::unique_ptr<CMapBitmap> bitmap(new CMapBitmap);
    if (!bitmap->Allocate(size, slack))
        return nullptr;
    return bitmap;
}

CMapBitmap::~CMapBitmap() {
    if (m_memoryDc) {
        ::SelectObject(m_memoryDc, m_formerBitmap);
        ::DeleteDC(m_memoryDc);
    }
    if (m_section)
        ::DeleteObject(m_section);
}

bool CMapBitmap::Allocate(CSize size, CSize slack) {
    const std::int64_t width = std::int64_t{size.cx} + std::max(slack.cx, 0L);
    const std::int64_t height = std::int64_t{size.cy} + std::max(slack.cy, 0L);
    constexpr std::int64_t kMostBytes = 0x7FFFFFFF;  // a DIB's size is a signed 32-bit number
    if (width > kMostBytes || height > kMostBytes || width * height > kMostBytes / 4)
        return false;

    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = static_cast<LONG>(-height);  // rows from the top
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    m_section = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    m_memoryDc = m_section ? ::CreateCompatibleDC(nullptr) : nullptr;
    if (!m_memoryDc)
        return false;
    m_formerBitmap = ::SelectObject(m_memoryDc, m_section);
    m_pixels = static_cast<std::uint32_t*>(bits);
    m_size = size;
    m_capacity = CSize(static_cast<int>(width), static_cast<int>(height));
    return true;
}

bool CMapBitmap::Scroll(int dx, int dy, CSize newSize) {
    if (newSize.cx <= 0 || newSize.cy <= 0 || newSize.cx > m_capacity.cx ||
        newSize.cy > m_capacity.cy)
        return false;

    // What of the old content is still in the bitmap, at its new place.
    const auto within = [](std::int64_t value, std::int64_t least, std::int64_t most) {
        return static_cast<LONG>(std::clamp(value, least, most));
    };
    CRect kept;
    kept.left = within(-std::int64_t{dx}, 0, newSize.cx);
    kept.top = within(-std::int64_t{dy}, 0, newSize.cy);
    kept.right = within(std::int64_t{m_size.cx} - dx, kept.left, newSize.cx);
    kept.bottom = within(std::int64_t{m_size.cy} - dy, kept.top, newSize.cy);

    const std::size_t rowBytes = static_cast<std::size_t>(kept.Width()) * sizeof(std::uint32_t);
    const auto moveRow = [&](int y) {
        std::uint32_t* to = m_pixels + std::int64_t{y} * m_capacity.cx + kept.left;
        const std::uint32_t* from = to + std::int64_t{dy} * m_capacity.cx + dx;
        std::memmove(to, from, rowBytes);
    };
    if (rowBytes > 0 && dy >= 0) {
        for (int y = kept.top; y < kept.bottom; ++y)
            moveRow(y);
    } else if (rowBytes > 0) {
        for (int y = kept.bottom - 1; y >= kept.top; --y)
            moveRow(y);
    }

    m_size = newSize;
    // The ground is grey from here on, as if the old picture were drawn on a grey one.
    m_painted.Move(-dx, -dy, kept);
    for (const CRect& bare : m_painted.Missing(Bounds())) {
        FillGrey(bare);
    }
    m_painted.Add(Bounds());
    return true;
}

std::unique_ptr<CMapBitmap> CMapBitmap::CopyWithSize(CSize size, CSize slack) const {
    const CSize whole(std::max(size.cx, m_size.cx), std::max(size.cy, m_size.cy));
    auto copy = Create(whole, slack);
    if (!copy)
        return nullptr;
    for (int y = 0; y < m_size.cy; ++y) {
        std::memcpy(copy->m_pixels + std::int64_t{y} * copy->m_capacity.cx,
                    m_pixels + std::int64_t{y} * m_capacity.cx,
                    static_cast<std::size_t>(m_size.cx) * sizeof(std::uint32_t));
    }
    copy->m_size = m_size;
    for (const CRect& part : m_painted.Within(Bounds())) {
        copy->m_painted.Add(part);
    }
    return copy;
}

CTileCanvas CMapBitmap::Canvas() {
    return {{m_pixels, m_size.cx, m_size.cy, m_capacity.cx}, m_painted};
}

void CMapBitmap::CopyTo(CDC& dc, CPoint to, const CRect& from) {
    CRect part;
    if (!part.IntersectRect(&from, Bounds())) {
        return;
    }
    for (const CRect& opaque : m_painted.Within(part)) {
        ::BitBlt(dc.GetSafeHdc(), to.x + opaque.left - from.left, to.y + opaque.top - from.top,
                 opaque.Width(), opaque.Height(), m_memoryDc, opaque.left, opaque.top, SRCCOPY);
    }
    // Windows collects GDI calls; the bits may be written as soon as the caller's lock is free.
    ::GdiFlush();
}

void CMapBitmap::DrawTo(CDC& dc, const Gdiplus::Rect& to, const CRect& from) {
    Gdiplus::Bitmap bitmap(m_size.cx, m_size.cy, m_capacity.cx * 4, PixelFormat32bppARGB,
                           reinterpret_cast<BYTE*>(m_pixels));
    Gdiplus::Graphics graphics(dc.GetSafeHdc());
    // Smooth scaling would blend the outermost pixels with nothing: the picture would get a rim. It
    // also takes twice as long, and the picture is in motion.
    graphics.SetInterpolationMode(Gdiplus::InterpolationModeNearestNeighbor);
    graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
    graphics.DrawImage(&bitmap, to, from.left, from.top, from.Width(), from.Height(),
                       Gdiplus::UnitPixel);
    graphics.Flush(Gdiplus::FlushIntentionSync);
}

void CMapBitmap::FillGrey(const CRect& rect) {
    for (int y = rect.top; y < rect.bottom; ++y) {
        std::uint32_t* row = m_pixels + std::int64_t{y} * m_capacity.cx;
        std::fill(row + rect.left, row + rect.right, kPanGrey);
    }
}

}  // namespace Terrascope

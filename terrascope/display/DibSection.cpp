#include "terrascope/display/DibSection.h"

namespace Terrascope {

std::unique_ptr<CDibSection> CDibSection::Create(std::int64_t width, std::int64_t height) {
    constexpr std::int64_t kMostPixels = 0x7FFFFFFF / 4;  // a DIB's size is a signed 32-bit number
    if (width <= 0 || height <= 0 || width > kMostPixels || height > kMostPixels / width) {
        return nullptr;
    }
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = static_cast<LONG>(-height);  // rows from the top
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    std::unique_ptr<CDibSection> dib(new CDibSection);
    void* bits = nullptr;
    dib->m_section = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    dib->m_dc = dib->m_section != nullptr ? ::CreateCompatibleDC(nullptr) : nullptr;
    if (dib->m_dc == nullptr) {
        return nullptr;
    }
    dib->m_former = ::SelectObject(dib->m_dc, dib->m_section);
    dib->m_view = {static_cast<std::uint32_t*>(bits), static_cast<int>(width),
                   static_cast<int>(height), static_cast<int>(width)};
    return dib;
}

CDibSection::~CDibSection() {
    if (m_dc != nullptr) {
        ::SelectObject(m_dc, m_former);
        ::DeleteDC(m_dc);
    }
    if (m_section != nullptr) {
        ::DeleteObject(m_section);
    }
}

}  // namespace Terrascope

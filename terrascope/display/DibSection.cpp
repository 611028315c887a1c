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
    void* bits = nullptr;
    CBitmapHandle section(::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    CMemoryDcHandle dc(section ? ::CreateCompatibleDC(nullptr) : nullptr);
    if (!dc) {
        return nullptr;
    }
    const PixelView view{static_cast<std::uint32_t*>(bits), static_cast<int>(width),
                         static_cast<int>(height), static_cast<int>(width)};
    return std::unique_ptr<CDibSection>(new CDibSection(std::move(section), std::move(dc), view));
}

}  // namespace Terrascope

#include "PictureCheck.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "MapWindow.h"

namespace {

constexpr ULONGLONG kPatienceMs = 20000;
constexpr DWORD kLookAgainMs = 50;

constexpr std::uint32_t kBackground = 0x00FF0000;  // no colour of the map
constexpr std::uint32_t kLightTile = 0x00E0E0E0;
constexpr std::uint32_t kDarkTile = 0x00606060;

/// A picture in memory, 32 bits a pixel, with a device context that paints on it.
class Picture {
public:
    explicit Picture(CSize size) : m_size(size) {
        BITMAPINFO info{};
        info.bmiHeader = {
            sizeof(BITMAPINFOHEADER), size.cx, -size.cy, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        m_bitmap = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS,
                                      reinterpret_cast<void**>(&m_pixels), nullptr, 0);
        m_dc.CreateCompatibleDC(nullptr);
        m_former = ::SelectObject(m_dc, m_bitmap);
    }
    ~Picture() {
        ::SelectObject(m_dc, m_former);
        ::DeleteObject(m_bitmap);
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    bool IsThere() const { return m_pixels != nullptr && m_former != nullptr; }
    CDC& Dc() { return m_dc; }

    void Fill(std::uint32_t colour) {
        for (int i = 0; i < m_size.cx * m_size.cy; ++i) {
            m_pixels[i] = colour;
        }
    }
    /// 0x00RRGGBB
    std::uint32_t At(CPoint point) const {
        return m_pixels[point.y * m_size.cx + point.x] & 0x00FFFFFF;
    }

private:
    CSize m_size;
    CDC m_dc;
    HBITMAP m_bitmap = nullptr;
    HGDIOBJ m_former = nullptr;
    std::uint32_t* m_pixels = nullptr;
};

/// The map's first layer: the west half of the world is one tile, the east half the other.
std::uint32_t ExpectedAt(double x, double y) {
    if (std::fabs(x) > 180 || std::fabs(y) > 90) {
        return kBackground;
    }
    return x < 0 ? kLightTile : kDarkTile;
}

/// How many pixels of the window's picture are not as expected.
int CountWrongPixels(CMapWindow& window, CSize size) {
    Picture picture(size);
    if (!picture.IsThere()) {
        return size.cx * size.cy;
    }
    picture.Fill(kBackground);
    window.Paint(picture.Dc());
    ::GdiFlush();
    int wrong = 0;
    for (CPoint pixel(0, 0); pixel.y < size.cy; ++pixel.y) {
        for (pixel.x = 0; pixel.x < size.cx; ++pixel.x) {
            double x = 0, y = 0;
            window.MapPointAt(pixel, x, y);
            wrong += picture.At(pixel) != ExpectedAt(x, y) ? 1 : 0;
        }
    }
    return wrong;
}

}  // namespace

bool ShowsCheckerboard(CMapWindow& window) {
    CRect client;
    window.GetClientRect(&client);
    const ULONGLONG end = ::GetTickCount64() + kPatienceMs;
    int wrong = 0;
    do {
        MSG message;
        while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&message);
            ::DispatchMessageA(&message);
        }
        wrong = client.IsRectEmpty() ? 1 : CountWrongPixels(window, client.Size());
        if (wrong == 0) {
            return true;
        }
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, kLookAgainMs, QS_ALLINPUT);
    } while (::GetTickCount64() < end);
    std::fprintf(stderr, "%d of %d pixels are wrong\n", wrong,
                 static_cast<int>(client.Width() * client.Height()));
    return false;
}

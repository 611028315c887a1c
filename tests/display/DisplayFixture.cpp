#include "tests/display/DisplayFixture.h"

#include "terrascope/display/DeviceUnits.h"

namespace TerrascopeTest {

using namespace Terrascope;

HostWindow::HostWindow() {
    Make();
}

void HostWindow::Make() {
    CreateEx(0, "STATIC", "host", WS_POPUP, CRect(0, 0, 400, 300), nullptr, 0);
}

HostWindow::~HostWindow() {
    DestroyWindow();
}

LRESULT HostWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kRepaintMessage) {
        const std::unique_ptr<RECT> rect(reinterpret_cast<RECT*>(wParam));
        repaints.emplace_back(*rect);
        return 0;
    }
    return CWnd::WindowProc(message, wParam, lParam);
}

Screen::Screen(CSize size) : m_size(size) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size.cx;
    info.bmiHeader.biHeight = -size.cy;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    m_section = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    m_pixels = static_cast<std::uint32_t*>(bits);
    std::fill(m_pixels, m_pixels + size.cx * size.cy, kBackground);
    m_dc.CreateCompatibleDC(nullptr);
    m_former = ::SelectObject(m_dc.GetSafeHdc(), m_section);
}

Screen::~Screen() {
    ::SelectObject(m_dc.GetSafeHdc(), m_former);
    ::DeleteObject(m_section);
}

void Screen::SetFactor(int factor) {
    ::SetMapMode(m_dc.GetSafeHdc(), MM_ANISOTROPIC);
    ::SetWindowExtEx(m_dc.GetSafeHdc(), 1000, 1000, nullptr);
    ::SetViewportExtEx(m_dc.GetSafeHdc(), factor, factor, nullptr);
}

std::uint32_t Screen::At(int x, int y) const {
    ::GdiFlush();
    return Rgb(m_pixels[y * m_size.cx + x]);
}

const std::vector<std::uint32_t> Screen::Pixels() const {
    ::GdiFlush();
    std::vector<std::uint32_t> pixels(m_pixels, m_pixels + m_size.cx * m_size.cy);
    for (auto& pixel : pixels) {
        pixel = Rgb(pixel);
    }
    return pixels;
}

Display::Display() {
    library.AddPlugin("ScriptedProvider.dll");
    library.WriteSettings("[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=ScriptedProvider\r\n");
    EXPECT_TRUE(library.LoadPlugins());
    script = FindScript();
    script->Reset();
    window = std::make_unique<HostWindow>();
}

Display::~Display() {
    script->Release();
    display.reset();
    Pump();
    EXPECT_EQ(0, CLiveCount<CTile2>::Live());
    EXPECT_EQ(0, CLiveCount<CMapBitmap>::Live());
    EXPECT_EQ(0, CLiveCount<CThread>::Live()) << "with its thread and its event";
    EXPECT_EQ(0, script->LiveProviders());
}

ScriptedMap Display::WorldMap() {
    ScriptedMap map;
    map.name = "world";
    map.layerCount = 5;
    map.left = map.bottom;  // so that SetLayer shows the map's middle
    return map;
}

void Display::MakeDisplay(CSize pixels) {
    size = pixels;
    const float factor = ScreenDeviceFactor();
    // One unit more than truncated, so that the view has exactly these pixels.
    const auto logical = [&](int value) {
        return value == 0 ? 0 : DeviceToLogical(value, factor) + 1;
    };
    display = std::make_unique<CTerrascope2>(
        CSize(logical(static_cast<int>(pixels.cx)), logical(static_cast<int>(pixels.cy))),
        window.get(), 1.0);
}

void Display::Open(int layer, const ScriptedMap& map) {
    if (!display) {
        MakeDisplay();
    }
    script->SetMaps({map});
    ASSERT_TRUE(display->OpenMap(map.name.c_str()));
    ASSERT_TRUE(display->SetLayer(static_cast<UINT>(layer)));
}

void Display::AwaitPicture() {
    // Quiet for longer than a thread needs from one tile to the next.
    std::size_t seen = 0;
    ULONGLONG since = ::GetTickCount64();
    ASSERT_TRUE(Await(
        [&] {
            if (script->Requests().size() != seen) {
                seen = script->Requests().size();
                since = ::GetTickCount64();
            }
            return ::GetTickCount64() - since > 350;
        },
        60000));
}

std::vector<std::uint32_t> Display::Paint() {
    Screen screen(size);
    screen.SetFactor(static_cast<int>(ScreenDeviceFactor()));
    display->Draw(&screen.Dc());
    return screen.Pixels();
}

std::uint32_t Display::PaintedAt(int x, int y) {
    return Paint()[static_cast<std::size_t>(y * size.cx + x)];
}

void Display::Click(CPoint point) {
    display->OnLButtonDown(0, point);
    display->OnLButtonUp(0, point);
}

}  // namespace TerrascopeTest

#include "tests/display/DisplayFixture.h"

#include "terrascope/display/DeviceUnits.h"
#include "terrascope/tiles/ImageDecoders.h"

namespace TerrascopeTest {

using namespace Terrascope;

void HostWindow::Make() {
    CreateEx(0, "STATIC", "host", WS_POPUP, CRect(0, 0, 400, 300), nullptr, 0);
}

LRESULT HostWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kRepaintMessage) {
        const std::unique_ptr<RECT> rect(reinterpret_cast<RECT*>(wParam));
        repaints.emplace_back(*rect);
        return 0;
    }
    return CWnd::WindowProc(message, wParam, lParam);
}

Screen::Screen(CSize size) : m_section(CDibSection::Create(size.cx, size.cy)) {
    std::fill_n(m_section->Row(0), size.cx * size.cy, kBackground);
    m_dc.Attach(m_section->Dc());
}

void Screen::SetFactor(int factor) {
    ::SetMapMode(m_dc.GetSafeHdc(), MM_ANISOTROPIC);
    ::SetWindowExtEx(m_dc.GetSafeHdc(), 1000, 1000, nullptr);
    ::SetViewportExtEx(m_dc.GetSafeHdc(), factor, factor, nullptr);
}

std::uint32_t Screen::At(int x, int y) const {
    ::GdiFlush();
    return Rgb(m_section->Row(y)[x]);
}

std::vector<std::uint32_t> Screen::Pixels() const {
    ::GdiFlush();
    std::vector<std::uint32_t> pixels;
    std::transform(m_section->Row(0), m_section->Row(m_section->Height()),
                   std::back_inserter(pixels), &Rgb);
    return pixels;
}

Display::Display() {
    library.AddPlugin("ScriptedProvider.dll");
    Load("");
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
    Terrascope::CImageDecoders::ReleaseInstalled();  // they are of this test's library folder
}

ScriptedMap Display::WorldMap() {
    ScriptedMap map;
    map.name = "world";
    map.layerCount = 5;
    map.left = map.bottom;  // so that SetLayer shows the map's middle
    return map;
}

void Display::Load(const std::string& lines, const char* provider) {
    library.WriteSettings("[TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE]\r\nLOCAL=" +
                          std::string(provider) + "\r\n[TILE_LOAD]\r\n" + lines);
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
    if (display == nullptr) {
        MakeDisplay();
    }
    script->SetMaps({map});
    ASSERT_TRUE(display->OpenMap(map.name.c_str()));
    ASSERT_TRUE(display->SetLayer(static_cast<UINT>(layer)));
}

void Display::AwaitPicture(ULONGLONG quiet) {
    std::size_t seen = 0;
    ULONGLONG since = ::GetTickCount64();
    ASSERT_TRUE(Await(
        [&] {
            if (script->Requests().size() != seen) {
                seen = script->Requests().size();
                since = ::GetTickCount64();
            }
            return ::GetTickCount64() - since > quiet;
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

void Display::Show(int layer, const ScriptedMap& map) {
    Open(layer, map);
    AwaitPicture();
}

void Display::Drag(CSize way, CPoint from) {
    display->OnLButtonDown(0, from);
    if (way != CSize(0, 0)) {
        display->OnMouseMove(0, from + way);
    }
    display->OnLButtonUp(0, from + way);
}

}  // namespace TerrascopeTest

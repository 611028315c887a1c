#pragma once

#include <afxwin.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "terrascope/display/Terrascope2.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LibraryFolder.h"
#include "tests/fixtures/ScriptedProvider/ScriptedControl.h"

namespace TerrascopeTest {

/// A real window that keeps the rectangles of the repaint messages it gets.
class HostWindow : public CWnd {
public:
    HostWindow() { Make(); }
    ~HostWindow() override { DestroyWindow(); }

    /// Makes the window, also anew.
    void Make();

    std::vector<CRect> repaints;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;
};

/// A 32-bit picture in memory with a device context in the host's logical units.
class Screen {
public:
    static constexpr std::uint32_t kBackground = 0x00FF00FF;

    explicit Screen(CSize size);
    ~Screen() { m_dc.Detach(); }

    CDC& Dc() { return m_dc; }

    /// Logical units of which 1000 are `factor` pixels.
    void SetFactor(int factor);

    /// 0x00RRGGBB.
    std::uint32_t At(int x, int y) const;
    std::vector<std::uint32_t> Pixels() const;

private:
    std::unique_ptr<Terrascope::CDibSection> m_section;
    CDC m_dc;
};

/// 0xAARRGGBB or 0x00RRGGBB without its alpha, and a COLORREF in the same order.
inline std::uint32_t Rgb(std::uint32_t pixel) {
    return pixel & 0xFFFFFF;
}
inline std::uint32_t FromColour(COLORREF c) {
    return static_cast<std::uint32_t>(GetRValue(c)) << 16 |
           static_cast<std::uint32_t>(GetGValue(c)) << 8 | GetBValue(c);
}

/// A display of 200 x 120 pixels over the scripted provider, with its host window.
class Display : public testing::Test {
protected:
    static constexpr std::uint32_t kWaitingGrey = 0xC8C8C8;

    Display();
    ~Display() override;

    /// A map of which layer n has 2^n x 2^(n-1) tiles of 64 x 64 pixels, layers 1 to 5.
    static ScriptedMap WorldMap();

    /// Settings of loading, for displays made from now on.
    void Load(const std::string& lines, const char* provider = "ScriptedProvider");

    void MakeDisplay(CSize pixels = {200, 120});
    void Open(int layer, const ScriptedMap& map = WorldMap());
    void Use(Terrascope::MapToolKind tool) { display->SetTool(static_cast<UINT>(tool)); }

    /// Waits until every tile that the view wants has been delivered and its messages came: until
    /// no tile was asked for in longer than a thread needs from one to the next, in milliseconds.
    void AwaitPicture(ULONGLONG quiet = 350);
    void Show(int layer, const ScriptedMap& map = WorldMap());

    /// What the display paints.
    std::vector<std::uint32_t> Paint();
    std::uint32_t PaintedAt(int x, int y);

    /// A click or drag with the current tool.
    void Click(CPoint point) { Drag({0, 0}, point); }
    void Drag(CSize way, CPoint from = {100, 60});

    LibraryFolder library;
    ScriptedControl* script = nullptr;
    std::unique_ptr<HostWindow> window;
    std::unique_ptr<Terrascope::CTerrascope2> display;
    CSize size{200, 120};
};

}  // namespace TerrascopeTest

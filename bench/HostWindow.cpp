#include "bench/HostWindow.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "terrascope/display/DeviceUnits.h"

namespace Terrascope::Bench {

namespace {

/// Decoders may round differently by 1.
bool IsNear(COLORREF a, COLORREF b) {
    return std::abs(GetRValue(a) - GetRValue(b)) <= 1 &&
           std::abs(GetGValue(a) - GetGValue(b)) <= 1 && std::abs(GetBValue(a) - GetBValue(b)) <= 1;
}

}  // namespace

HostWindow::HostWindow() {
    CreateEx(0, "STATIC", "", WS_POPUP | WS_VISIBLE, CRect(CPoint(0, 0), kFullHd), nullptr, 0);
    m_dc = std::make_unique<CClientDC>(this);
    m_glimpse.CreateCompatibleDC(m_dc.get());
    m_glimpseBitmap = ::CreateCompatibleBitmap(m_dc->GetSafeHdc(), 1, 1);
    m_former = ::SelectObject(m_glimpse.GetSafeHdc(), m_glimpseBitmap);
    UseHostUnits(m_glimpse);
}

HostWindow::~HostWindow() {
    Close();
    ::SelectObject(m_glimpse.GetSafeHdc(), m_former);
    ::DeleteObject(m_glimpseBitmap);
    m_dc.reset();
    DestroyWindow();
}

CTerrascope2& HostWindow::Show(std::unique_ptr<CTerrascope2> shown) {
    m_display = std::move(shown);
    return *m_display;
}

CTerrascope2& HostWindow::ShowNew() {
    return Show(std::make_unique<CTerrascope2>(ViewInLogicalUnits(), this, 1.0));
}

void HostWindow::RunUntil(const std::function<bool()>& condition) {
    const ULONGLONG end = ::GetTickCount64() + 60000;
    while (!condition()) {
        MSG message;
        if (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            ::DispatchMessageA(&message);
        } else if (::GetTickCount64() < end) {
            ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
        } else {
            throw std::runtime_error("what a benchmark waits for does not come");
        }
    }
}

void HostWindow::RunFor(ULONGLONG milliseconds) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    RunUntil([&] { return ::GetTickCount64() >= end; });
}

Clock::time_point HostWindow::RunUntilComplete(const TileFiles& files) {
    const auto tiles = VisibleTilesOf(m_display->View());
    std::size_t shown = 0;
    int seen = -1;
    RunUntil([&] {
        if (std::exchange(seen, m_repaints) == m_repaints) {
            return false;  // nothing was drawn since the last look
        }
        while (shown < tiles.size() && Shows(tiles[shown], files)) {
            ++shown;
        }
        return shown == tiles.size();
    });
    return m_lastDrawn;
}

double HostWindow::Fill(const TileFiles& files) {
    ::PatBlt(Dc(), 0, 0, kFullHd.cx, kFullHd.cy, WHITENESS);
    ::GdiFlush();
    const Clock::time_point start = Clock::now();
    CTerrascope2& display = ShowNew();
    display.OpenMap(files.Name());
    display.SetLayer(static_cast<UINT>(files.Layer()));
    return Microseconds(RunUntilComplete(files) - start);
}

LRESULT HostWindow::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kRepaintMessage) {
        return CWnd::WindowProc(message, wParam, lParam);
    }
    const std::unique_ptr<RECT> rect(reinterpret_cast<RECT*>(wParam));
    ++m_repaints;
    if (m_display != nullptr) {
        const int saved = m_dc->SaveDC();
        m_dc->IntersectClipRect(rect.get());
        UseHostUnits(*m_dc);
        m_display->Draw(m_dc.get());
        m_dc->RestoreDC(saved);
        m_lastDrawn = Clock::now();
    }
    return 0;
}

// The view's corner is in single precision: the pixel may be its neighbour's.
bool HostWindow::Shows(const VisibleTile& tile, const TileFiles& files) {
    const COLORREF shown = PixelAt(tile.inView);
    for (int x = -1; x <= 1; ++x) {
        for (int y = -1; y <= 1; ++y) {
            const std::uint32_t pixel = files.PixelOf(tile.tile, tile.inTile + CSize(x, y));
            if (IsNear(shown, RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF))) {
                return true;
            }
        }
    }
    return false;
}

COLORREF HostWindow::PixelAt(CPoint at) {
    const COLORREF shown = ::GetPixel(Dc(), at.x, at.y);
    if (shown != CLR_INVALID) {
        return shown;
    }
    ::SetViewportOrgEx(m_glimpse.GetSafeHdc(), -at.x, -at.y, nullptr);
    m_display->Draw(&m_glimpse);
    ::SetViewportOrgEx(m_glimpse.GetSafeHdc(), 0, 0, nullptr);
    return ::GetPixel(m_glimpse.GetSafeHdc(), 0, 0);
}

void UseHostUnits(CDC& dc) {
    const int factor = static_cast<int>(ScreenDeviceFactor());
    ::SetMapMode(dc.GetSafeHdc(), MM_ANISOTROPIC);
    ::SetWindowExtEx(dc.GetSafeHdc(), 1000, 1000, nullptr);
    ::SetViewportExtEx(dc.GetSafeHdc(), factor, factor, nullptr);
}

CSize ViewInLogicalUnits() {
    const float factor = ScreenDeviceFactor();
    // One unit more than truncated, so that the view has exactly these pixels.
    return {DeviceToLogical(static_cast<int>(kFullHd.cx), factor) + 1,
            DeviceToLogical(static_cast<int>(kFullHd.cy), factor) + 1};
}

std::vector<VisibleTile> VisibleTilesOf(const Viewport& view) {
    const TileRange range = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
    const CRect whole(CPoint(0, 0), view.size);
    std::vector<VisibleTile> tiles;
    for (int column = range.firstColumn; column < range.EndColumn(); ++column) {
        for (int row = range.firstRow; row < range.EndRow(); ++row) {
            const CPoint corner = MapToDevicePixels(
                view, {view.extent.x0 + column * view.tileSize.cx * view.resolution.x,
                       view.extent.Top() - row * view.tileSize.cy * view.resolution.y});
            CRect part;
            part.IntersectRect(CRect(corner, view.tileSize), whole);
            // Of a sliver no pixel has all its neighbours in the tile.
            if (part.Width() >= 4 && part.Height() >= 4) {
                const CPoint middle = part.CenterPoint();
                tiles.push_back(
                    {{static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(row)},
                     middle,
                     CPoint(middle - corner),
                     corner});
            }
        }
    }
    return tiles;
}

}  // namespace Terrascope::Bench

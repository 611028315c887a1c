#pragma once

#include <afxwin.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "bench/Measure.h"
#include "bench/TileFiles.h"
#include "terrascope/display/Terrascope2.h"

namespace Terrascope::Bench {

inline const CSize kFullHd(1920, 1080);

/// The units of a host's device context: 1000 of them are ScreenDeviceFactor pixels.
void UseHostUnits(CDC& dc);

/// The view's size in the logical units that a display is made with.
CSize ViewInLogicalUnits();

/// A tile of which the view shows something, and where: the middle of what it shows, in pixels of
/// the view and of the tile.
struct VisibleTile {
    TileIndex tile;
    CPoint inView;
    CPoint inTile;
    CPoint corner;  ///< the tile's top-left pixel in the view
};
std::vector<VisibleTile> VisibleTilesOf(const Viewport& view);

/// A host with a view of 1920 x 1080 pixels at (0, 0) of its window. It has the display draw the
/// rectangle of each repaint message into the window as soon as it gets the message.
///
/// The window may be larger than the screen (Wine's screen without a display has 1024 x 768
/// pixels): what lies beyond is drawn, clipped, and read back by drawing it elsewhere.
class HostWindow : public CWnd {
public:
    HostWindow();
    ~HostWindow() override;

    /// The display that the window shows; the window deletes it.
    CTerrascope2& Show(std::unique_ptr<CTerrascope2> shown);
    CTerrascope2& Shown() { return *m_display; }
    void Close() { m_display.reset(); }

    /// A new display in this window.
    CTerrascope2& ShowNew();

    /// Handles messages, and waits for them, until a condition holds, which is asked after each.
    /// Throws after a minute.
    void RunUntil(const std::function<bool()>& condition);

    void RunFor(ULONGLONG milliseconds);

    /// Until the window shows a pixel of each visible tile. The time at which the last one had been
    /// drawn: looking for it takes its time, too.
    Clock::time_point RunUntilComplete(const TileFiles& files);

    /// Shows a map by a new display; what it takes from the first call to the last pixel, in
    /// microseconds. What the window showed before does not count.
    double Fill(const TileFiles& files);

    HDC Dc() const { return m_dc->GetSafeHdc(); }
    int Repaints() const { return m_repaints; }

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    bool Shows(const VisibleTile& tile, const TileFiles& files);
    /// Of the window; beyond the screen, of the display. CLR_INVALID beyond both.
    COLORREF PixelAt(CPoint at);

    std::unique_ptr<CTerrascope2> m_display;
    std::unique_ptr<CClientDC> m_dc;
    CDC m_glimpse;  ///< of one pixel
    HBITMAP m_glimpseBitmap = nullptr;
    HGDIOBJ m_former = nullptr;
    int m_repaints = 0;
    Clock::time_point m_lastDrawn;
};

}  // namespace Terrascope::Bench

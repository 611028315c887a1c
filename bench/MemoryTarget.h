#pragma once

#include <afxwin.h>

#include <algorithm>

#include "bench/HostWindow.h"
#include "terrascope/display/DibSection.h"

namespace Terrascope::Bench {

/// Pixels in memory as large as a view, to draw on or to copy from.
class MemoryTarget {
public:
    MemoryTarget() : m_dib(CDibSection::Create(kFullHd.cx, kFullHd.cy)) {
        std::fill_n(m_dib->Row(0), kFullHd.cx * kFullHd.cy, 0x01010101U);
        dc.Attach(m_dib->Dc());
    }
    MemoryTarget(const MemoryTarget&) = delete;
    MemoryTarget& operator=(const MemoryTarget&) = delete;
    ~MemoryTarget() { dc.Detach(); }

    CDC dc;

private:
    std::unique_ptr<CDibSection> m_dib;
};

/// The raw call that a frame cannot do without.
inline void CopyView(MemoryTarget& to, MemoryTarget& from) {
    ::BitBlt(to.dc.GetSafeHdc(), 0, 0, kFullHd.cx, kFullHd.cy, from.dc.GetSafeHdc(), 0, 0, SRCCOPY);
    ::GdiFlush();
}

}  // namespace Terrascope::Bench

#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "terrascope/support/Handles.h"
#include "terrascope/tiles/TileCanvas.h"

namespace Terrascope {

/// A 32-bit bitmap whose pixels are plain memory and a device context at once: what is written to
/// the one, GDI copies from the other.
///
/// Units:   pixels; rows from the top, without gaps. All zero at first.
/// Owns:    the section and its memory device context.
/// Threads: one at a time. GDI may still read after a call returned: GdiFlush comes before writing.
class CDibSection {
public:
    /// Null when a size is not positive, the pixels exceed 2 GB, or memory is short.
    static std::unique_ptr<CDibSection> Create(std::int64_t width, std::int64_t height);

    int Width() const { return m_view.width; }
    int Height() const { return m_view.height; }
    const PixelView& Pixels() const { return m_view; }
    std::uint32_t* Row(int y) const { return m_view.Row(y); }
    HDC Dc() const { return m_dc.Get(); }

private:
    CDibSection(CBitmapHandle section, CMemoryDcHandle dc, const PixelView& view)
        : m_view(view),
          m_section(std::move(section)),
          m_dc(std::move(dc)),
          m_selected(m_dc.Get(), m_section.Get()) {}

    const PixelView m_view;
    const CBitmapHandle m_section;
    const CMemoryDcHandle m_dc;
    const CSelectedObject m_selected;
};

}  // namespace Terrascope

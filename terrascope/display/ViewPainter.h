#pragma once

#include <afxwin.h>

#include "terrascope/display/MapBitmap.h"

namespace Terrascope {

/// Paints a rectangle of the off-screen bitmap over the whole view at (0, 0) of a device context:
/// pixel for pixel when the rectangle has the view's size, else each pixel from the nearest one. A
/// context whose mapping is not that of the screen has it scaled with GDI+ into the view's
/// rectangle of logical units.
///
/// Units:   `source` and `view` in pixels; `factor` is DeviceFactor, which gives the logical units.
/// Owns:    nothing; `strip` is scratch that the caller keeps from one painting to the next.
/// Threads: the one that holds the bitmap's lock.
void PaintView(CDC& dc, CMapBitmap& bitmap, const CRect& source, CSize view, float factor,
               std::unique_ptr<CDibSection>& strip);

}  // namespace Terrascope

#pragma once

#include <afxwin.h>

#include "terrascope/display/MapBitmap.h"

namespace Terrascope {

/// Paints a rectangle of the off-screen bitmap over the whole view at (0, 0) of a device context:
/// pixel for pixel when the rectangle has the view's size and the context's mapping is that of the
/// screen, else scaled with GDI+ into the view's rectangle of logical units.
///
/// Units:   `source` and `view` in pixels; `factor` is DeviceFactor, which gives the logical units.
/// Threads: the one that holds the bitmap's lock.
void PaintView(CDC& dc, CMapBitmap& bitmap, const CRect& source, CSize view, float factor);

}  // namespace Terrascope

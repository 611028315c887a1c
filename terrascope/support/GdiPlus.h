#pragma once

// The one place that includes <gdiplus.h>: it wants these headers before it, and the min and max
// that windows.h does not define here.
#include <afx.h>
#include <objidl.h>

#include <algorithm>

namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus

#include <gdiplus.h>

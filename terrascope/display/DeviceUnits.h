#pragma once

#include <windows.h>

#include "terrascope/support/Truncate.h"

namespace Terrascope {

/// The relation of device pixels (DP) and the library's logical units (LP): LP = DP x 1000 / D.
///
/// All in single precision, multiplied before it is divided: hosts compare the results exactly.

constexpr float kLogicalScale = 1000.0F;

/// 1000 logical units are 84.50 mm of the screen: 8450 hundredths of a millimetre times the dots
/// per inch, over the 2540 of an inch; both sides have a factor of 100, and MulDiv rounds. D for a
/// screen of `dpi` horizontal dots per inch: 319 at 96, 399 at 120, 479 at 144.
inline float DeviceFactor(int dpi) {
    return static_cast<float>(::MulDiv(100, dpi * 8450, 254000));
}

/// D of the screen as it is now; asked afresh at every call.
float ScreenDeviceFactor();

inline float DeviceToLogical(float value, float factor) {
    return value * kLogicalScale / factor;
}
inline float LogicalToDevice(float value, float factor) {
    return value * factor / kLogicalScale;
}

/// The same for whole numbers, truncated toward zero: there and back may lose one. That is wanted,
/// hosts lay out their windows with it.
inline int DeviceToLogical(int value, float factor) {
    return TruncateToInt(DeviceToLogical(static_cast<float>(value), factor));
}
inline int LogicalToDevice(int value, float factor) {
    return TruncateToInt(LogicalToDevice(static_cast<float>(value), factor));
}

}  // namespace Terrascope

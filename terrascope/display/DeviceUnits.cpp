#include "terrascope/display/DeviceUnits.h"

namespace Terrascope {

float ScreenDeviceFactor() {
    const HDC screen = ::GetDC(nullptr);
    const int dpi = ::GetDeviceCaps(screen, LOGPIXELSX);
    ::ReleaseDC(nullptr, screen);
    return DeviceFactor(dpi);
}

}  // namespace Terrascope

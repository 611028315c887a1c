#include "terrascope/support/Colors.h"

#include <algorithm>

namespace Terrascope {

namespace {

BYTE ToByte(float value) {
    return static_cast<BYTE>(std::clamp(value * 255.0f, 0.0f, 255.0f));
}

}  // namespace

void RgbToHls(COLORREF colour, float& hue, float& lightness, float& saturation) {
    const int red = GetRValue(colour);
    const int green = GetGValue(colour);
    const int blue = GetBValue(colour);
    const int high = std::max({red, green, blue});
    const int low = std::min({red, green, blue});

    hue = 0.0f;
    lightness = static_cast<float>(high + low) / 510.0f;
    saturation = 0.0f;
    if (high == low) {
        return;
    }
    const auto delta = static_cast<float>(high - low);
    saturation = delta / static_cast<float>(lightness <= 0.5f ? high + low : 510 - high - low);
    const float rc = static_cast<float>(high - red) / delta;
    const float gc = static_cast<float>(high - green) / delta;
    const float bc = static_cast<float>(high - blue) / delta;
    // Of equal largest components the last one decides.
    if (red == high) {
        hue = (bc + 6.0f - gc) * 60.0f;
    }
    if (green == high) {
        hue = (rc + 2.0f - bc) * 60.0f;
    }
    if (blue == high) {
        hue = (gc + 4.0f - rc) * 60.0f;
    }
    if (hue > 360.0f) {
        hue -= 360.0f;
    }
}

COLORREF HlsToRgb(float hue, float lightness, float saturation) {
    if (saturation == 0.0f) {
        const BYTE grey = ToByte(lightness);
        return RGB(grey, grey, grey);
    }
    const float m2 = lightness <= 0.5f ? lightness * (1.0f + saturation)
                                       : lightness + saturation - lightness * saturation;
    const float m1 = 2.0f * lightness - m2;
    return RGB(HueToComponent(m1, m2, hue + 120.0f), HueToComponent(m1, m2, hue),
               HueToComponent(m1, m2, hue - 120.0f));
}

BYTE HueToComponent(float m1, float m2, float hue) {
    if (hue > 360.0f) {
        hue -= 360.0f;
    } else if (hue < 0.0f) {
        hue += 360.0f;
    }
    float value = m1;
    if (hue < 60.0f) {
        value = m1 + (m2 - m1) * hue / 60.0f;
    } else if (hue < 180.0f) {
        value = m2;
    } else if (hue < 240.0f) {
        value = m1 + (m2 - m1) * (240.0f - hue) / 60.0f;
    }
    return ToByte(value);
}

COLORREF DarkenColor(COLORREF colour, unsigned short percent) {
    float hue = 0.0f;
    float lightness = 0.0f;
    float saturation = 0.0f;
    RgbToHls(colour, hue, lightness, saturation);
    lightness -= lightness * percent / 100.0f;
    return HlsToRgb(hue, std::max(lightness, 0.0f), saturation);
}

COLORREF LightenColor(COLORREF colour, unsigned short percent) {
    float hue = 0.0f;
    float lightness = 0.0f;
    float saturation = 0.0f;
    RgbToHls(colour, hue, lightness, saturation);
    lightness += (1.0f - lightness) * percent / 100.0f;
    return HlsToRgb(hue, std::min(lightness, 1.0f), saturation);
}

}  // namespace Terrascope

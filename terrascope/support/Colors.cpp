#include "terrascope/support/Colors.h"

#include <algorithm>

#include "terrascope/support/Truncate.h"

namespace Terrascope {

namespace {

/// A colour in double precision: in single precision, full lightness is white for most colours
/// only, since components are truncated.
struct Hls {
    double hue = 0;
    double lightness = 0;
    double saturation = 0;
};

Hls ToHls(COLORREF colour) {
    const int red = GetRValue(colour);
    const int green = GetGValue(colour);
    const int blue = GetBValue(colour);
    const int high = std::max({red, green, blue});
    const int low = std::min({red, green, blue});

    Hls hls;
    hls.lightness = (high + low) / 510.0;
    if (high == low) {
        return hls;
    }
    const double delta = high - low;
    hls.saturation = delta / (hls.lightness <= 0.5 ? high + low : 510 - high - low);
    const double rc = (high - red) / delta;
    const double gc = (high - green) / delta;
    const double bc = (high - blue) / delta;
    // Of equal largest components the last one decides.
    if (red == high) {
        hls.hue = (bc + 6 - gc) * 60;
    }
    if (green == high) {
        hls.hue = (rc + 2 - bc) * 60;
    }
    if (blue == high) {
        hls.hue = (gc + 4 - rc) * 60;
    }
    if (hls.hue > 360) {
        hls.hue -= 360;
    }
    return hls;
}

BYTE ToByte(double value) {
    return static_cast<BYTE>(std::clamp(TruncateToInt(value * 255), 0, 255));
}

BYTE ToComponent(double m1, double m2, double hue) {
    if (hue > 360) {
        hue -= 360;
    } else if (hue < 0) {
        hue += 360;
    }
    double value = m1;
    if (hue < 60) {
        value = m1 + (m2 - m1) * hue / 60;
    } else if (hue < 180) {
        value = m2;
    } else if (hue < 240) {
        value = m1 + (m2 - m1) * (240 - hue) / 60;
    }
    return ToByte(value);
}

COLORREF ToColor(const Hls& hls) {
    const auto [hue, lightness, saturation] = hls;
    if (saturation == 0) {
        const BYTE grey = ToByte(lightness);
        return RGB(grey, grey, grey);
    }
    // In this form full lightness leaves exactly 1, whatever the saturation is.
    const double m2 =
        lightness <= 0.5 ? lightness * (1 + saturation) : lightness + saturation * (1 - lightness);
    const double m1 = 2 * lightness - m2;
    return RGB(ToComponent(m1, m2, hue + 120), ToComponent(m1, m2, hue),
               ToComponent(m1, m2, hue - 120));
}

}  // namespace

void RgbToHls(COLORREF colour, float& hue, float& lightness, float& saturation) {
    const Hls hls = ToHls(colour);
    hue = static_cast<float>(hls.hue);
    lightness = static_cast<float>(hls.lightness);
    saturation = static_cast<float>(hls.saturation);
}

COLORREF HlsToRgb(float hue, float lightness, float saturation) {
    return ToColor({hue, lightness, saturation});
}

BYTE HueToComponent(float m1, float m2, float hue) {
    return ToComponent(m1, m2, hue);
}

COLORREF DarkenColor(COLORREF colour, unsigned short percent) {
    Hls hls = ToHls(colour);
    hls.lightness = std::max(hls.lightness - hls.lightness * (percent / 100.0), 0.0);
    return ToColor(hls);
}

COLORREF LightenColor(COLORREF colour, unsigned short percent) {
    Hls hls = ToHls(colour);
    hls.lightness = std::min(hls.lightness + (1 - hls.lightness) * (percent / 100.0), 1.0);
    return ToColor(hls);
}

}  // namespace Terrascope

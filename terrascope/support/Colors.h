#pragma once

#include <afx.h>

namespace Terrascope {

/// Colours as red, green, blue (red in the low byte) and as hue in degrees (0 to 360), lightness
/// and saturation (0 to 1 each). Components are truncated; outside 0 to 255 they become the nearest
/// of these, and 0 where the numbers are none. The library does not call these; they are for its
/// users.

void RgbToHls(COLORREF colour, float& hue, float& lightness, float& saturation);

/// There and back is within 1 for each component.
COLORREF HlsToRgb(float hue, float lightness, float saturation);

/// One component (0 to 255) between the two mean values; the hue may be off by up to one turn.
BYTE HueToComponent(float m1, float m2, float hue);

/// Takes the part of the lightness away; 100 percent and more is black.
COLORREF DarkenColor(COLORREF colour, unsigned short percent);

/// Adds the part of what is missing to full lightness; 100 percent and more is white.
COLORREF LightenColor(COLORREF colour, unsigned short percent);

}  // namespace Terrascope

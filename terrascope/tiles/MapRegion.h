#pragma once

namespace Terrascope {

/// A rectangle of map units from its top-left corner; the height is 0 or negative: y grows upwards.
struct MapRegion {
    float left = 0.0F;
    float top = 0.0F;
    float width = 0.0F;
    float height = 0.0F;
};

}  // namespace Terrascope

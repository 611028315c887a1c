#pragma once

#include <optional>
#include <string_view>

/// Values as a user types them, on the command line and in tours. Every function takes the whole
/// text or nothing: no blanks around, no rest behind; decimals have a point in every locale.
namespace Viewer {

struct PixelPoint {
    int x = 0;
    int y = 0;
    bool operator==(const PixelPoint&) const = default;
};

struct PixelSize {
    int width = 0;
    int height = 0;
    bool operator==(const PixelSize&) const = default;
};

struct MapPoint {
    double x = 0;
    double y = 0;
    bool operator==(const MapPoint&) const = default;
};

/// A whole number from `low` to `high`, both included.
std::optional<int> ParseInt(std::string_view text, int low, int high);

/// A finite number.
std::optional<double> ParseNumber(std::string_view text);

/// "X,Y" in pixels.
std::optional<PixelPoint> ParsePixelPoint(std::string_view text);

/// "X,Y" in map units.
std::optional<MapPoint> ParseMapPoint(std::string_view text);

/// "WIDTHxHEIGHT" in pixels, each from kLeastSide to kGreatestSide.
std::optional<PixelSize> ParsePixelSize(std::string_view text);

constexpr int kLeastSide = 16;
constexpr int kGreatestSide = 8192;

}  // namespace Viewer

#include "viewer/TextValues.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace Viewer {
namespace {

template <typename Number>
std::optional<Number> ParseWhole(std::string_view text) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::pair<std::string_view, std::string_view>> SplitAt(std::string_view text,
                                                                     char separator) {
    const size_t at = text.find(separator);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    return std::pair(text.substr(0, at), text.substr(at + 1));
}

}  // namespace

std::optional<int> ParseInt(std::string_view text, int low, int high) {
    const auto value = ParseWhole<int>(text);
    return value && *value >= low && *value <= high ? value : std::nullopt;
}

std::optional<double> ParseNumber(std::string_view text) {
    const auto value = ParseWhole<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<PixelPoint> ParsePixelPoint(std::string_view text) {
    // Mouse messages carry 16 bits for each coordinate.
    constexpr int low = std::numeric_limits<short>::min();
    constexpr int high = std::numeric_limits<short>::max();
    const auto parts = SplitAt(text, ',');
    if (!parts) {
        return std::nullopt;
    }
    const auto x = ParseInt(parts->first, low, high);
    const auto y = ParseInt(parts->second, low, high);
    if (!x || !y) {
        return std::nullopt;
    }
    return PixelPoint{*x, *y};
}

std::optional<MapPoint> ParseMapPoint(std::string_view text) {
    const auto parts = SplitAt(text, ',');
    if (!parts) {
        return std::nullopt;
    }
    const auto x = ParseNumber(parts->first);
    const auto y = ParseNumber(parts->second);
    if (!x || !y) {
        return std::nullopt;
    }
    return MapPoint{*x, *y};
}

std::optional<PixelSize> ParsePixelSize(std::string_view text) {
    const auto parts = SplitAt(text, 'x');
    if (!parts) {
        return std::nullopt;
    }
    const auto width = ParseInt(parts->first, kLeastSide, kGreatestSide);
    const auto height = ParseInt(parts->second, kLeastSide, kGreatestSide);
    if (!width || !height) {
        return std::nullopt;
    }
    return PixelSize{*width, *height};
}

}  // namespace Viewer

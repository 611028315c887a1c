#include "plugins/web/WmtsMatrixSet.h"

#include <algorithm>
#include <cmath>

#include "plugins/common/PlainText.h"

namespace Terrascope::Plugins {
namespace {

constexpr double kPixel = 0.00028;                    // metres: the standard's pixel
constexpr double kMercatorHalf = 20037508.342789244;  // metres from the middle to the edge
constexpr double kMetresPerDegree = 2 * kMercatorHalf / 360;
constexpr double kTolerance = 1e-3;  // of a ratio, or of a pixel's size for the corner

enum class System { Mercator, Degrees, DegreesLatitudeFirst, Other };

bool EndsWithCode(const std::wstring& name, const wchar_t* code) {
    const std::wstring end = std::wstring(L":") + code;
    return name == code || name.ends_with(end);
}

System SystemOf(const std::wstring& name) {
    for (const wchar_t* code : {L"3857", L"900913", L"102100", L"102113", L"3785"}) {
        if (EndsWithCode(name, code)) {
            return System::Mercator;
        }
    }
    if (EndsWithCode(name, L"CRS84")) {
        return System::Degrees;
    }
    if (EndsWithCode(name, L"4326")) {
        // "EPSG:4326" in short has longitudes first in old documents.
        return name.starts_with(L"urn:") ? System::DegreesLatitudeFirst : System::Degrees;
    }
    return System::Other;
}

struct Matrix {
    CWmtsSource::Matrix source;
    double unitsPerPixel = 0;
    double west = 0;
    double north = 0;
    int tileSize = 0;
};

std::optional<std::uint32_t> Count(const XmlElement& matrix, const wchar_t* name) {
    const auto value = XmlReal(matrix.TextOf(name));
    constexpr double kMost = 1U << kDeepestAddressableLayer;
    return value && *value >= 1 && *value <= kMost && *value == std::floor(*value)
               ? std::optional(static_cast<std::uint32_t>(*value))
               : std::nullopt;
}

/// Nothing when a value is missing or makes no sense.
std::optional<Matrix> ReadMatrix(const XmlElement& element, System system) {
    const auto corner = ParseWmtsPair(element.TextOf(L"TopLeftCorner"));
    const auto scale = XmlReal(element.TextOf(L"ScaleDenominator"));
    const auto columns = Count(element, L"MatrixWidth");
    const auto rows = Count(element, L"MatrixHeight");
    const auto width = Count(element, L"TileWidth");
    const auto height = Count(element, L"TileHeight");
    constexpr std::uint32_t kLargestTile = 8192;  // pixels
    if (!corner || !scale || !(*scale > 0) || !columns || !rows || !width || !height ||
        *width != *height || *width > kLargestTile) {
        return std::nullopt;
    }
    const auto [first, second] = *corner;
    Matrix matrix;
    matrix.source = {Utf8FromWide(element.TextOf(L"Identifier")), *columns, *rows};
    const bool isMercator = system == System::Mercator;
    // To the units of MercatorWorld, or to degrees: the same number of metres.
    const double perUnit = isMercator ? 180 / kMercatorHalf : 1;
    matrix.unitsPerPixel = *scale * kPixel / kMetresPerDegree;
    matrix.west = first * perUnit;
    matrix.north = second * perUnit;
    // Documents disagree about the order of the axes; latitudes end at 90.
    constexpr double kRightAngle = 90 + kTolerance;
    const bool isSwapped = system == System::DegreesLatitudeFirst
                               ? std::abs(first) <= kRightAngle
                               : !isMercator && std::abs(second) > kRightAngle;
    if (isSwapped) {
        std::swap(matrix.west, matrix.north);
    }
    matrix.tileSize = static_cast<int>(*width);
    return matrix;
}

bool Halves(const Matrix& coarse, const Matrix& fine) {
    const double pixel = fine.unitsPerPixel;
    return std::abs(coarse.unitsPerPixel / pixel - 2) < 2 * kTolerance &&
           std::abs(coarse.west - fine.west) < pixel &&
           std::abs(coarse.north - fine.north) < pixel && coarse.tileSize == fine.tileSize;
}

/// Moves a matrix that is less than a hair off the grid of which whole tiles go around the world
/// onto that grid: documents have rounded numbers, and where tiles end a hair beside whole pixels,
/// the display shows seams. `top` is the world's northern edge.
void SnapToWorld(Matrix& matrix, double top) {
    constexpr double kHair = 0.01;  // pixels
    const double around = std::round(360 / (matrix.unitsPerPixel * matrix.tileSize));
    const double tile = 360 / std::max(around, 1.0);
    const double west = std::round((matrix.west + 180) / tile) * tile - 180;
    const double north = top - std::round((top - matrix.north) / tile) * tile;
    const double pixels =
        std::max(matrix.source.columns, matrix.source.rows) * 1.0 * matrix.tileSize;
    const double pixel = tile / matrix.tileSize;
    const double off = std::max({std::abs(west - matrix.west), std::abs(north - matrix.north),
                                 std::abs(pixel - matrix.unitsPerPixel) * pixels});
    if (off < kHair * pixel) {
        matrix.west = west;
        matrix.north = north;
        matrix.unitsPerPixel = pixel;
    }
}

/// The least layer whose keys can name all tiles of the matrix.
int LeastLayer(const Matrix& matrix) {
    int layer = 0;
    while (1U << layer < std::max(matrix.source.columns, matrix.source.rows)) {
        ++layer;
    }
    return layer;
}

}  // namespace

std::optional<std::array<double, 2>> ParseWmtsPair(const std::wstring& text) {
    std::string plain;
    for (const wchar_t letter : text) {
        const bool isBlank =
            letter == L' ' || letter == L'\t' || letter == L'\n' || letter == L'\r';
        if (!isBlank) {
            plain += letter < 0x80 ? static_cast<char>(letter) : '?';
        } else if (!plain.ends_with(',')) {
            plain += ',';
        }
    }
    const auto numbers = ParseReals(plain);
    if (!numbers || numbers->size() != 2) {
        return std::nullopt;
    }
    return std::array{(*numbers)[0], (*numbers)[1]};
}

std::optional<WmtsPyramid> ReadWmtsPyramid(const XmlElement& set,
                                           const std::set<std::wstring>& limits,
                                           std::string& reason) {
    const System system = SystemOf(set.TextOf(L"SupportedCRS"));
    if (system == System::Other) {
        reason = "its coordinates are neither web Mercator nor degrees";
        return std::nullopt;
    }
    std::vector<Matrix> matrices;
    for (const XmlElement* element : set.Children(L"TileMatrix")) {
        const bool isWanted = limits.empty() || limits.count(element->TextOf(L"Identifier")) > 0;
        if (auto matrix = isWanted ? ReadMatrix(*element, system) : std::nullopt) {
            matrices.push_back(std::move(*matrix));
        }
    }
    std::sort(matrices.begin(), matrices.end(),
              [](const Matrix& a, const Matrix& b) { return a.unitsPerPixel > b.unitsPerPixel; });
    auto begin = matrices.begin();
    // A single tile has no key, as long as there is a layer below it.
    if (matrices.size() > 1 && LeastLayer(*begin) == 0 && Halves(*begin, *std::next(begin))) {
        ++begin;
    }
    if (begin == matrices.end()) {
        reason = "its matrix set has no matrix that can be used";
        return std::nullopt;
    }
    const int first = std::max(LeastLayer(*begin), 1);
    WmtsPyramid result;
    result.isMercator = system == System::Mercator;
    result.tileSize = begin->tileSize;
    for (auto matrix = begin; matrix != matrices.end(); ++matrix) {
        const auto layer = first + static_cast<int>(matrix - begin);
        if (layer > kDeepestAddressableLayer ||
            (matrix != begin && !Halves(*std::prev(matrix), *matrix))) {
            break;
        }
        result.matrices.push_back(matrix->source);
    }
    if (result.matrices.size() == 1 && std::next(begin) != matrices.end()) {
        reason = "its matrix set does not halve";
        return std::nullopt;
    }
    SnapToWorld(*begin, result.isMercator ? 180 : 90);
    const double tile = begin->unitsPerPixel * begin->tileSize;
    const CWmtsSource::Matrix& coarse = begin->source;
    result.pyramid = {{begin->west, begin->north - tile * coarse.rows,
                       begin->west + tile * coarse.columns, begin->north},
                      coarse.columns,
                      coarse.rows,
                      first};
    return result;
}

}  // namespace Terrascope::Plugins

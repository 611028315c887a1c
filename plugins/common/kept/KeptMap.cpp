#include "plugins/common/kept/KeptMap.h"

#include <array>
#include <charconv>
#include <cmath>

#include "plugins/common/MapRemark.h"
#include "plugins/common/PlainText.h"
#include "plugins/common/SafePath.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongestStem = 100;  // characters of a file's name
constexpr std::size_t kDigits = 8;         // of an identity in a file's name
constexpr double kOnTheGrid = 1e-6;        // of a tile
constexpr char kExtension[] = ".mbtiles";

/// A name for a file: what could mean something else is replaced, and then `digest`, which is of
/// the whole name, keeps it from being another map's.
std::wstring SafeStem(const std::wstring& name, const std::string& digest) {
    std::wstring stem = name.substr(0, kLongestStem);
    bool isOther = stem.size() != name.size();
    for (wchar_t& c : stem) {
        if (::IsCharAlphaNumericW(c) == 0 &&
            std::wstring_view(L" -_.").find(c) == std::wstring_view::npos) {
            c = L'_';
            isOther = true;
        }
    }
    if (isOther || !IsPlainName(stem)) {
        stem += L'-' + WideFromUtf8(digest.substr(0, kDigits));
    }
    return stem;
}

/// The number of whole tiles; nothing when it is no whole number.
std::optional<std::int64_t> TilesIn(double span, double tile) {
    const double count = std::round(span / tile);
    const bool isWhole = std::abs(span / tile - count) < kOnTheGrid && count >= 0 &&
                         count <= static_cast<double>(INT32_MAX);
    return isWhole ? std::optional(static_cast<std::int64_t>(count)) : std::nullopt;
}

}  // namespace

std::string TextOfReal(double value) {
    std::array<char, 40> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string DigestOf(std::string_view text) {
    // Source: the Fowler-Noll-Vo hash 1a with 64 bits.
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3ULL;
    }
    std::string digits(16, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, hash >>= 4) {
        *digit = "0123456789abcdef"[hash & 0xF];
    }
    return digits;
}

std::shared_ptr<const KeptMap> KeptMap::Make(const std::string& identity,
                                             const tagTILE_MAP_INFO& info,
                                             std::vector<tagTILE_MAP_LAYER_INFO> layers) {
    const auto name = ToWide(ViewOf(info.strName));
    const auto folded = ToWide(FoldCase(ViewOf(info.strName)));
    if (!name || !folded || name->empty() || layers.empty()) {
        return nullptr;
    }
    std::shared_ptr<KeptMap> map(new KeptMap);
    map->info = info;
    map->layers = std::move(layers);
    map->tilesSince = info.stUpdateTime;
    map->m_identity = identity;
    map->m_key = identity + " " + Utf8FromWide(*folded);
    const std::wstring extension = WideFromUtf8(kExtension);
    const std::wstring stem = SafeStem(*name, DigestOf(Utf8FromWide(*folded)));
    map->m_fileName = stem + extension;
    map->m_ownFileName = stem + L'-' + WideFromUtf8(identity.substr(0, kDigits)) + extension;
    map->PlaceOnWorldGrid();
    map->m_gridText =
        std::to_string(info.nTileWidth) + 'x' + std::to_string(info.nTileHeight) + ' ';
    if (map->m_isOnWorldGrid) {
        map->m_gridText += "world";  // a tile's place is the same whatever part of it the map is
        return map;
    }
    for (const double number :
         {info.dLongitudeStart, info.dLatitudeStart, info.dLongitude, info.dLatitude}) {
        map->m_gridText += TextOfReal(number) + ' ';
    }
    for (const tagTILE_MAP_LAYER_INFO& layer : map->layers) {
        map->m_gridText += std::to_string(layer.nLayerNumber) + ':' +
                           std::to_string(layer.nTileCountX) + 'x' +
                           std::to_string(layer.nTileCountY) + ' ';
    }
    map->m_gridText += "own";
    return map;
}

void KeptMap::PlaceOnWorldGrid() {
    const tagTILE_MAP_LAYER_INFO& first = layers.front();
    if (first.nLayerNumber < 1 || first.nLayerNumber > kDeepestAddressableLayer) {
        return;
    }
    // Degrees of latitude may fall on the same lines.
    const bool isMercator = PartsOf(info.strRemark).isMercator || info.dLatitudeStart < -90 ||
                            info.dLatitudeStart + info.dLatitude > 90;
    const double tile = std::ldexp(360.0, -first.nLayerNumber);
    const auto column = TilesIn(info.dLongitudeStart + 180, tile);
    const auto row = TilesIn(180 - (info.dLatitudeStart + info.dLatitude), tile);
    const std::int64_t count = std::int64_t{1} << first.nLayerNumber;
    if (!isMercator || !column || !row || TilesIn(info.dLongitude, tile) != first.nTileCountX ||
        TilesIn(info.dLatitude, tile) != first.nTileCountY || *column + first.nTileCountX > count ||
        *row + first.nTileCountY > count) {
        return;
    }
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const auto step = static_cast<int>(i);
        if (step >= kDeepestAddressableLayer ||
            layers[i].nLayerNumber != first.nLayerNumber + step ||
            layers[i].nTileCountX != std::int64_t{first.nTileCountX} << step ||
            layers[i].nTileCountY != std::int64_t{first.nTileCountY} << step) {
            return;
        }
    }
    m_isOnWorldGrid = true;
    m_firstColumn = *column;
    m_firstRow = *row;
}

const tagTILE_MAP_LAYER_INFO* KeptMap::FindLayer(int number) const {
    for (const tagTILE_MAP_LAYER_INFO& layer : layers) {
        if (layer.nLayerNumber == number) {
            return &layer;
        }
    }
    return nullptr;
}

std::optional<KeptPlace> KeptMap::Locate(const TileAddress& address) const {
    const tagTILE_MAP_LAYER_INFO* layer = FindLayer(address.layer);
    if (layer == nullptr || std::int64_t{address.column} >= layer->nTileCountX ||
        std::int64_t{address.row} >= layer->nTileCountY) {
        return std::nullopt;
    }
    const int step = m_isOnWorldGrid ? address.layer - layers.front().nLayerNumber : 0;
    const std::int64_t row = (m_firstRow << step) + address.row;
    return KeptPlace{address.layer, (m_firstColumn << step) + address.column,
                     (std::int64_t{1} << address.layer) - 1 - row};
}

}  // namespace Terrascope::Plugins

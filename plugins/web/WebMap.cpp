#include "plugins/web/WebMap.h"

#include <algorithm>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/MapRemark.h"
#include "plugins/common/PlainText.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongestName = 255;   // bytes
constexpr std::size_t kLongestText = 4000;  // bytes
constexpr std::size_t kLongestFormat = 5;
constexpr int kUsualTile = 256;     // pixels
constexpr int kLargestTile = 8192;  // pixels

bool IsFormat(const std::string& text) {
    return !text.empty() && text.size() <= kLongestFormat &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
           });
}

/// A map without a time has the same one whenever it is read, or it would seem to be newer each
/// time: the first of January 1970, by every clock.
SYSTEMTIME UpdateTime(UnixSeconds time) {
    constexpr UnixSeconds k1970 = 11'644'473'600;  // seconds since 1601
    constexpr FileTime kSteps = 10'000'000;        // in a second
    if (time > 0) {
        return LocalTime(static_cast<FileTime>(time + k1970) * kSteps);
    }
    SYSTEMTIME none{};
    none.wYear = 1970;
    none.wMonth = 1;
    none.wDay = 1;
    none.wDayOfWeek = 4;
    return none;
}

/// In the units of MercatorWorld. Bounds that are none, or that cross the date line, count as
/// absent.
MapExtent MercatorExtent(const std::optional<std::array<double, 4>>& bounds) {
    if (bounds) {
        const auto& [west, south, east, north] = *bounds;
        // Also false for what is no number.
        if (west >= -180 && east <= 180 && west < east && south >= -90 && north <= 90 &&
            south < north) {
            return {west, MercatorOrdinate(south), east, MercatorOrdinate(north)};
        }
    }
    return MercatorWorld(1).extent;
}

}  // namespace

std::shared_ptr<const WebMap> MakeMap(const MapFacts& facts, const TilePyramid& pyramid,
                                      const MapExtent& extent, int layerCount, bool isMercator,
                                      std::shared_ptr<const ITileSource> source,
                                      std::string& reason) {
    const auto grid = TileGrid::Crop(pyramid, extent, layerCount);
    if (!grid) {
        reason = "it has no tile in its first layer, or too many";
        return nullptr;
    }
    tagTILE_MAP_INFO info;
    info.strName = NarrowFromUtf8(TextOfHtml(facts.name), kLongestName);
    info.strTileFormat = IsFormat(facts.format) ? facts.format.c_str() : "png";
    const int size = facts.tileSize.value_or(kUsualTile);
    info.nTileWidth = size >= 1 && size <= kLargestTile ? size : kUsualTile;
    info.nTileHeight = info.nTileWidth;
    info.strRemark =
        MapRemark(NarrowFromUtf8(TextOfHtml(facts.description), kLongestText), isMercator,
                  NarrowFromUtf8(TextOfHtml(facts.attribution), kLongestText));
    info.stUpdateTime = UpdateTime(facts.updated);
    grid->Describe(info);
    return std::make_shared<WebMap>(WebMap{info, *grid, grid->Layers(info), std::move(source)});
}

std::shared_ptr<const WebMap> MakeMercatorMap(const MapFacts& facts, int deepest,
                                              std::shared_ptr<const ITileSource> source,
                                              std::string& reason) {
    const int first = std::max(facts.minZoom.value_or(0), 1);
    const int last = std::min(facts.maxZoom.value_or(deepest), kDeepestAddressableLayer);
    if (first > last) {
        reason = "it has no zoom level from 1 to 30";
        return nullptr;
    }
    return MakeMap(facts, MercatorWorld(first), MercatorExtent(facts.bounds), last - first + 1,
                   true, std::move(source), reason);
}

HttpResult CTemplateSource::Load(int layer, const PyramidTile& tile, const WebAccess& access,
                                 const Cancellation& cancellation,
                                 const HttpHeaders& conditions) const {
    PyramidTile place = tile;
    if (m_isFromSouth) {
        std::swap(place.row, place.rowFromBottom);
    }
    // Always the same one, so that the tile has one address.
    const std::size_t which = (std::size_t{tile.column} + tile.row) % m_templates.size();
    const auto address = m_templates[which].Expand(layer, place);
    if (!address) {
        HttpResult none;
        none.outcome = HttpOutcome::Absent;
        return none;
    }
    return access.fetcher.Fetch(*address, access.identity, kTileLimits, cancellation, conditions);
}

}  // namespace Terrascope::Plugins

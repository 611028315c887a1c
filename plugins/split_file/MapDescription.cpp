#include "plugins/split_file/MapDescription.h"

#include <cmath>

#include "plugins/common/MapRemark.h"
#include "plugins/split_file/IniValues.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kMap[] = "MAP";
constexpr int kLargestTile = 8192;      // pixels
constexpr int kDefaultTile = 256;       // pixels
constexpr double kFarthest = 1e9;       // map units: far beyond metres around the earth
constexpr double kSmallestSpan = 1e-9;  // map units
constexpr double kSmallestZoom = 1.0 / 256.0;
constexpr double kLargestZoom = 256.0;

// What a layer makes of a tile is held to the largest image that the library decodes: 64 megapixels
// (8192 x 8192), 256 MB in memory.
constexpr double kMostTilePixels = 64.0 * 1024 * 1024;

/// Columns or rows of a layer: its own, or the first layer's, doubled from layer to layer. A layer
/// has no more of them than its keys can name.
int ReadTileCount(IniValues& values, const CString& section, const char* key, int layerNumber,
                  int firstLayerCount, int step) {
    const int most = 1 << layerNumber;
    return values.Whole(section, key, 1, most, firstLayerCount << step);
}

tagTILE_MAP_LAYER_INFO ReadLayer(IniValues& values, const tagTILE_MAP_INFO& info,
                                 const tagTILE_MAP_LAYER_INFO* first, int step) {
    tagTILE_MAP_LAYER_INFO layer;
    layer.nLayerNumber = info.nFirstLayer + step;
    CString section;
    section.Format("LAYER_%d", layer.nLayerNumber);
    layer.nTileCountX = ReadTileCount(values, section, "TILE_COUNT_X", layer.nLayerNumber,
                                      first != nullptr ? first->nTileCountX : 1, step);
    layer.nTileCountY = ReadTileCount(values, section, "TILE_COUNT_Y", layer.nLayerNumber,
                                      first != nullptr ? first->nTileCountY : 1, step);
    layer.dZoomFactor = values.Real(section, "ZOOM_FACTOR", kSmallestZoom, kLargestZoom, 1.0);
    layer.nTileWidth = info.nTileWidth;
    layer.nTileHeight = info.nTileHeight;
    // As the display truncates them.
    const double width = std::trunc(info.nTileWidth * layer.dZoomFactor);
    const double height = std::trunc(info.nTileHeight * layer.dZoomFactor);
    if (width * height < 1 || width * height > kMostTilePixels) {
        CString reason;
        reason.Format("%g makes tiles of %.0f x %.0f pixels, expected 1 to %.0f pixels in all",
                      layer.dZoomFactor, width, height, kMostTilePixels);
        values.Refuse(section, "ZOOM_FACTOR", reason);
    }
    return layer;
}

/// The layers from the first one on. They are consecutive, so one that cannot be used ends them,
/// and is named by `problem`. Empty when it is the first.
std::vector<tagTILE_MAP_LAYER_INFO> ReadLayers(CCustomIniFile& file, const tagTILE_MAP_INFO& info,
                                               std::optional<MapProblem>& problem) {
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    for (int step = 0; step < info.nLayerCount; ++step) {
        IniValues values(file);
        const tagTILE_MAP_LAYER_INFO layer =
            ReadLayer(values, info, layers.empty() ? nullptr : &layers.front(), step);
        problem = values.Problem();
        if (problem) {
            if (!layers.empty()) {
                problem->reason.AppendFormat("; the map ends with layer %d",
                                             layers.back().nLayerNumber);
            }
            break;
        }
        layers.push_back(layer);
    }
    return layers;
}

CString ReadName(IniValues& values, const CString& folderName) {
    CString name = values.Text(kMap, "NAME");
    if (name.IsEmpty()) {
        name = folderName;
    }
    if (name.GetLength() > kLongestMapName) {
        CString reason;
        reason.Format("is longer than %d bytes", kLongestMapName);
        values.Refuse(kMap, "NAME", reason);
    }
    return name;
}

}  // namespace

const tagTILE_MAP_LAYER_INFO* MapDescription::FindLayer(int layerNumber) const {
    if (layerNumber < info.nFirstLayer || layerNumber - info.nFirstLayer >= info.nLayerCount) {
        return nullptr;
    }
    return &layers[static_cast<std::size_t>(layerNumber - info.nFirstLayer)];
}

std::optional<std::string> MapDescription::TileFile(const TileAddress& address,
                                                    std::string_view key) const {
    const tagTILE_MAP_LAYER_INFO* layer = FindLayer(address.layer);
    if (layer == nullptr || address.column >= static_cast<std::uint32_t>(layer->nTileCountX) ||
        address.row >= static_cast<std::uint32_t>(layer->nTileCountY)) {
        return std::nullopt;
    }
    const auto rows = static_cast<std::uint32_t>(layer->nTileCountY);
    const std::optional<PyramidTile> tile =
        grid ? grid->Locate(address)
             : PyramidTile{address.column, address.row, rows - 1 - address.row};
    return tile ? tilePath.Expand(address.layer, *tile, key, ViewOf(info.strTileFormat))
                : std::nullopt;
}

MapReading ReadMapDescription(CCustomIniFile& file, const CString& folderName,
                              const SYSTEMTIME& updateTime) {
    MapReading reading;
    IniValues values(file);
    tagTILE_MAP_INFO info;
    info.strName = ReadName(values, folderName);
    info.stUpdateTime = updateTime;
    const CString time = values.Text(kMap, "UPDATE_TIME");
    if (const auto parsed = ParseTime(time)) {
        info.stUpdateTime = *parsed;
    } else if (!time.IsEmpty()) {
        // Shown only: no reason to do without the map.
        reading.problems.push_back({kMap, "UPDATE_TIME", "is not a time, the file's own is used"});
    }
    const CString format = values.Text(kMap, "TILE_FORMAT");
    if (!format.IsEmpty()) {
        info.strTileFormat = format;
    }
    // A key has as many digits as its layer's number, so there are no tiles in layer 0.
    info.nFirstLayer = values.Whole(kMap, "FIRST_LAYER", 1, kDeepestAddressableLayer, 1);
    info.nLayerCount =
        values.Whole(kMap, "LAYER_COUNT", 1, kDeepestAddressableLayer + 1 - info.nFirstLayer);
    info.dLongitudeStart = values.Real(kMap, "LONGITUDE_START", -kFarthest, kFarthest);
    info.dLatitudeStart = values.Real(kMap, "LATITUDE_START", -kFarthest, kFarthest);
    info.dLongitude = values.Real(kMap, "LONGITUDE", kSmallestSpan, kFarthest);
    info.dLatitude = values.Real(kMap, "LATITUDE", kSmallestSpan, kFarthest);
    info.nTileWidth = values.Whole(kMap, "TILE_WIDTH", 1, kLargestTile, kDefaultTile);
    info.nTileHeight = values.Whole(kMap, "TILE_HEIGHT", 1, kLargestTile, kDefaultTile);
    info.strRemark =
        MapRemark(values.Text(kMap, "REMARK"), false, values.Text(kMap, "ATTRIBUTION"));

    CString pattern = values.Text(kMap, "TILE_PATH");
    if (pattern.IsEmpty()) {
        pattern = "{layer}\\{column}\\{row}.{format}";
    }
    std::string reason;
    std::optional<TilePathTemplate> tilePath = TilePathTemplate::Parse(ViewOf(pattern), reason);
    if (!tilePath) {
        values.Refuse(kMap, "TILE_PATH", reason.c_str());
    }
    std::optional<MapProblem> problem = values.Problem();
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    if (!problem) {
        layers = ReadLayers(file, info, problem);
    }
    if (layers.empty()) {
        reading.problems = {*problem};
        return reading;
    }
    if (problem) {
        reading.problems.push_back(*problem);
    }
    info.nLayerCount = static_cast<int>(layers.size());
    reading.map = std::make_unique<MapDescription>(
        MapDescription{{}, info, std::move(layers), *std::move(tilePath), std::nullopt});
    return reading;
}

}  // namespace Terrascope::Plugins

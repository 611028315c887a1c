#include "plugins/common/kept/KeptDescriptions.h"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

#include "plugins/common/PlainText.h"
#include "plugins/common/SafePath.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kLongestName = 255;  // bytes
constexpr std::size_t kLongestFormat = 20;
constexpr std::size_t kLongestRemark = 8000;
constexpr int kLargestTile = 8192;  // pixels
constexpr double kFarthest = 1e12;  // map units

std::string Utf8(const CString& text) {
    return Utf8FromWide(ToWide(ViewOf(text)).value_or(L""));
}

Json TimeOf(const SYSTEMTIME& time) {
    return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
}

Json Describe(const KeptMap& map) {
    Json layers = Json::array();
    for (const tagTILE_MAP_LAYER_INFO& layer : map.layers) {
        layers.push_back({layer.nLayerNumber, layer.nTileCountX, layer.nTileCountY,
                          layer.nTileWidth, layer.nTileHeight, layer.dZoomFactor});
    }
    const tagTILE_MAP_INFO& info = map.info;
    return {
        {"name", Utf8(info.strName)},
        {"updated", TimeOf(info.stUpdateTime)},
        {"tilesSince", TimeOf(map.tilesSince)},
        {"format", Utf8(info.strTileFormat)},
        {"extent", {info.dLongitudeStart, info.dLatitudeStart, info.dLongitude, info.dLatitude}},
        {"tile", {info.nTileWidth, info.nTileHeight}},
        {"remark", Utf8(info.strRemark)},
        {"layers", std::move(layers)}};
}

/// Throws, as what follows does, where the text has something else: caught for each map.
CString Text(const Json& object, const char* key, std::size_t limit) {
    CString text = NarrowFromUtf8(object.at(key).get<std::string>(), limit + 1);
    if (static_cast<std::size_t>(text.GetLength()) > limit) {
        throw std::length_error(key);
    }
    return text;
}

template <std::size_t count>
std::array<double, count> Numbers(const Json& array, double least, double most) {
    std::array<double, count> numbers{};
    for (std::size_t i = 0; i < count; ++i) {
        numbers[i] = array.at(i).get<double>();
        if (!(numbers[i] >= least && numbers[i] <= most)) {
            throw std::out_of_range("number");
        }
    }
    return numbers;
}

SYSTEMTIME Time(const Json& array) {
    const auto parts = Numbers<6>(array, 0, 9999);
    const auto part = [&](std::size_t i) { return static_cast<WORD>(parts[i]); };
    return {part(0), part(1), 0, part(2), part(3), part(4), part(5), 0};
}

std::vector<tagTILE_MAP_LAYER_INFO> Layers(const Json& array) {
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    for (const Json& entry : array) {
        const auto numbers = Numbers<6>(entry, 0, INT32_MAX);
        const auto whole = [&](std::size_t i) { return static_cast<std::int32_t>(numbers[i]); };
        const tagTILE_MAP_LAYER_INFO layer{whole(0), whole(1), whole(2),
                                           whole(3), whole(4), numbers[5]};
        const std::int32_t number =
            layers.empty() ? layer.nLayerNumber : layers.back().nLayerNumber + 1;
        if (number < 1 || number > kDeepestAddressableLayer || layer.nLayerNumber != number ||
            layer.nTileCountX < 1 || layer.nTileCountY < 1 || !(layer.dZoomFactor > 0)) {
            throw std::out_of_range("layer");
        }
        layers.push_back(layer);
    }
    return layers;
}

std::shared_ptr<const KeptMap> Read(const Json& entry, const std::string& identity) {
    tagTILE_MAP_INFO info;
    info.strName = Text(entry, "name", kLongestName);
    info.strTileFormat = Text(entry, "format", kLongestFormat);
    // Its line feed leads to the attribution.
    info.strRemark = Text(entry, "remark", kLongestRemark);
    info.stUpdateTime = Time(entry.at("updated"));
    const auto extent = Numbers<4>(entry.at("extent"), -kFarthest, kFarthest);
    const auto tile = Numbers<2>(entry.at("tile"), 1, kLargestTile);
    if (!(extent[2] > 0) || !(extent[3] > 0)) {
        throw std::out_of_range("extent");
    }
    info.dLongitudeStart = extent[0];
    info.dLatitudeStart = extent[1];
    info.dLongitude = extent[2];
    info.dLatitude = extent[3];
    info.nTileWidth = static_cast<std::int32_t>(tile[0]);
    info.nTileHeight = static_cast<std::int32_t>(tile[1]);
    std::vector<tagTILE_MAP_LAYER_INFO> layers = Layers(entry.at("layers"));
    if (layers.empty()) {
        return nullptr;
    }
    info.nFirstLayer = layers.front().nLayerNumber;
    info.nLayerCount = static_cast<std::int32_t>(layers.size());
    const auto map = KeptMap::Make(identity, info, std::move(layers));
    if (map == nullptr) {
        return nullptr;
    }
    const auto changed = std::make_shared<KeptMap>(*map);
    changed->tilesSince = Time(entry.at("tilesSince"));
    return changed;
}

}  // namespace

std::string WriteDescriptions(const KeptMaps& maps) {
    Json entries = Json::array();
    for (const auto& map : maps) {
        entries.push_back(Describe(*map));
    }
    return Json{{"version", 1}, {"maps", std::move(entries)}}.dump(1, ' ', false,
                                                                   Json::error_handler_t::replace);
}

KeptMaps ReadDescriptions(std::string_view text, const std::string& identity) {
    KeptMaps maps;
    const Json document = text.size() <= kLongestDescriptions ? Json::parse(text, nullptr, false)
                                                              : Json(Json::value_t::discarded);
    if (!document.is_object() || document.value("version", Json()) != 1) {
        return maps;
    }
    const auto entries = document.find("maps");
    if (entries == document.end() || !entries->is_array()) {
        return maps;
    }
    for (const Json& entry : *entries) {
        try {
            if (auto map = Read(entry, identity); map != nullptr) {
                maps.push_back(std::move(map));
            }
        } catch (const std::exception&) {
            continue;  // this one is none; the others may be
        }
    }
    return maps;
}

}  // namespace Terrascope::Plugins

#include "plugins/web/TileJson.h"

#include <nlohmann/json.hpp>

namespace Terrascope::Plugins {
namespace {

using Json = nlohmann::json;

constexpr int kDeepestZoom = 30;  // of a document that states none: TileJSON 3.0.0

/// The value of a key; null when there is none of this kind.
const Json* Find(const Json& object, const char* key, bool (Json::*isKind)() const noexcept) {
    const auto found = object.find(key);
    return found != object.end() && ((*found).*isKind)() ? &*found : nullptr;
}

std::string Text(const Json& object, const char* key) {
    const Json* text = Find(object, key, &Json::is_string);
    return text != nullptr ? text->get<std::string>() : std::string();
}

std::optional<int> Zoom(const Json& object, const char* key) {
    const Json* number = Find(object, key, &Json::is_number);
    if (number == nullptr) {
        return std::nullopt;
    }
    const auto zoom = number->get<double>();
    return zoom >= 0 && zoom <= kDeepestZoom && zoom == static_cast<int>(zoom)
               ? std::optional(static_cast<int>(zoom))
               : std::nullopt;
}

std::optional<std::array<double, 4>> Bounds(const Json& object) {
    const Json* bounds = Find(object, "bounds", &Json::is_array);
    std::array<double, 4> numbers{};
    if (bounds == nullptr || bounds->size() != numbers.size()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!(*bounds)[i].is_number()) {
            return std::nullopt;
        }
        numbers[i] = (*bounds)[i].get<double>();
    }
    return numbers;
}

}  // namespace

std::shared_ptr<const WebMap> ReadTileJson(const Json& document, const HttpAddress& address,
                                           const DataPath& path, std::string& reason) {
    const Json* tiles = document.is_object() ? Find(document, "tiles", &Json::is_array) : nullptr;
    if (tiles == nullptr || Find(document, "tilejson", &Json::is_string) == nullptr) {
        reason = "it is no TileJSON: 'tilejson' or 'tiles' is missing";
        return nullptr;
    }
    const Json* vectors = Find(document, "vector_layers", &Json::is_array);
    if (vectors != nullptr && !vectors->empty()) {
        reason = "its tiles are vector data";
        return nullptr;
    }
    constexpr std::size_t kMostTemplates = 32;
    std::vector<TileAddressTemplate> templates;
    for (const Json& pattern : *tiles) {
        if (pattern.is_string() && templates.size() < kMostTemplates) {
            if (auto one = TileAddressTemplate::Parse(pattern.get_ref<const std::string&>(),
                                                      &address, reason)) {
                templates.push_back(std::move(*one));
            }
        }
    }
    if (templates.empty()) {
        reason = "'tiles' has no template that can be used: it " +
                 (reason.empty() ? std::string("is empty") : reason);
        return nullptr;
    }
    MapFacts facts;
    facts.name = Text(document, "name");
    if (facts.name.empty()) {
        facts.name = address.host;
    }
    facts.description = Text(document, "description");
    facts.attribution = Text(document, "attribution");
    facts.format = Text(document, "format");
    if (facts.format.empty()) {
        facts.format = templates.front().Ending();
    }
    facts.minZoom = Zoom(document, "minzoom");
    facts.maxZoom = Zoom(document, "maxzoom");
    facts.bounds = Bounds(document);
    const bool isFromSouth = Text(document, "scheme") == "tms";
    return MakeMercatorMap(path.Over(facts), kDeepestZoom,
                           std::make_shared<CTemplateSource>(std::move(templates), isFromSouth),
                           reason);
}

}  // namespace Terrascope::Plugins

#include "plugins/web/DataPath.h"

#include <algorithm>
#include <charconv>

#include "plugins/common/PlainText.h"

namespace Terrascope::Plugins {
namespace {

/// Without the percent signs; those that have no two digits behind them stay.
std::string Decoded(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16).ptr ==
                text.data() + i + 3) {
            decoded += static_cast<char>(byte);
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

std::optional<int> Zoom(const std::string& text) {
    const auto value = ParseWhole(text);
    return value && *value >= 0 && *value <= kDeepestAddressableLayer
               ? std::optional(static_cast<int>(*value))
               : std::nullopt;
}

void Take(MapFacts& facts, std::string_view name, const std::string& value) {
    if (name == "name") {
        facts.name = value;
    } else if (name == "attribution") {
        facts.attribution = value;
    } else if (name == "minzoom") {
        facts.minZoom = Zoom(value);
    } else if (name == "maxzoom") {
        facts.maxZoom = Zoom(value);
    } else if (name == "tilesize") {
        const auto size = ParseWhole(value);
        if (size && *size >= 1 && *size <= 8192) {
            facts.tileSize = static_cast<int>(*size);
        }
    } else if (name == "bounds") {
        const auto numbers = ParseReals(value);
        if (numbers && numbers->size() == 4) {
            facts.bounds = {(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
        }
    }
}

}  // namespace

DataPath DataPath::Parse(std::string_view text) {
    const std::size_t hash = std::min(text.find('#'), text.size());
    DataPath path;
    path.address = text.substr(0, hash);
    for (std::size_t begin = hash + 1; begin < text.size();) {
        const std::size_t end = std::min(text.find('&', begin), text.size());
        const std::string_view pair = text.substr(begin, end - begin);
        const std::size_t equals = pair.find('=');
        if (equals != std::string_view::npos) {
            Take(path.facts, pair.substr(0, equals), Decoded(pair.substr(equals + 1)));
        }
        begin = end + 1;
    }
    return path;
}

MapFacts DataPath::Over(MapFacts of) const {
    const auto put = [](auto& value, const auto& over, bool isStated) {
        if (isStated) {
            value = over;
        }
    };
    put(of.name, facts.name, !facts.name.empty());
    put(of.attribution, facts.attribution, !facts.attribution.empty());
    put(of.minZoom, facts.minZoom, facts.minZoom.has_value());
    put(of.maxZoom, facts.maxZoom, facts.maxZoom.has_value());
    put(of.bounds, facts.bounds, facts.bounds.has_value());
    put(of.tileSize, facts.tileSize, facts.tileSize.has_value());
    put(of.updated, facts.updated, facts.updated != 0);
    return of;
}

}  // namespace Terrascope::Plugins

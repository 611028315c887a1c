#include "plugins/web/Wmts.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "plugins/common/PlainText.h"
#include "plugins/web/WmtsMatrixSet.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMostMaps = 1000;

std::string Utf8(const std::wstring& text) {
    return Utf8FromWide(text);
}

std::string SmallLetters(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

/// As a part of an address: all but RFC 3986's unreserved characters with percent signs.
std::string Encoded(std::string_view text) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
            std::string_view("-._~").find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            encoded += {'%', kDigits[byte / 16], kDigits[byte % 16]};
        }
    }
    return encoded;
}

/// A pattern with values in the places of its fields ("{name}", whatever the case); fields without
/// a value stay.
std::string Fill(std::string_view pattern, const std::map<std::string, std::string>& values) {
    std::string filled;
    for (std::size_t begin = 0; begin < pattern.size();) {
        const std::size_t open = std::min(pattern.find('{', begin), pattern.size());
        filled += pattern.substr(begin, open - begin);
        const std::size_t close = pattern.find('}', open);
        if (open == pattern.size() || close == std::string_view::npos) {
            filled += pattern.substr(open);
            break;
        }
        const auto value =
            values.find(SmallLetters(std::string(pattern.substr(open + 1, close - open - 1))));
        filled += value != values.end() ? value->second
                                        : std::string(pattern.substr(open, close - open + 1));
        begin = close + 1;
    }
    return filled;
}

/// How much a tile format is wanted, the less the more; nothing: it cannot be drawn.
std::optional<int> Rank(const std::string& format) {
    const std::string plain = SmallLetters(format.substr(0, format.find(';')));
    if (plain == "image/png" || plain == "image/jpeg" || plain == "image/jpg") {
        return 0;
    }
    return plain.starts_with("image/") && plain != "image/svg+xml" ? std::optional(1)
                                                                   : std::nullopt;
}

/// Where tiles are asked for by key and value; empty when the service names no such place.
std::string KeyValueAddress(const XmlElement& capabilities, const HttpAddress& address) {
    const XmlElement* metadata = capabilities.Child(L"OperationsMetadata");
    if (metadata == nullptr) {
        return {};
    }
    for (const XmlElement* operation : metadata->Children(L"Operation")) {
        const XmlElement* dcp = operation->Child(L"DCP");
        const XmlElement* http = dcp != nullptr ? dcp->Child(L"HTTP") : nullptr;
        if (operation->Attribute(L"name") != L"GetTile" || http == nullptr) {
            continue;
        }
        for (const XmlElement* get : http->Children(L"Get")) {
            bool isKeyValue = get->children.empty();
            for (const XmlElement* constraint : get->Children(L"Constraint")) {
                const XmlElement* allowed = constraint->Child(L"AllowedValues");
                isKeyValue |= allowed != nullptr && allowed->TextOf(L"Value") == L"KVP";
            }
            const auto place = address.Resolve(Utf8(get->Attribute(L"href")));
            if (isKeyValue && place) {
                return place->Text();
            }
        }
    }
    return {};
}

class Capabilities {
public:
    Capabilities(const XmlElement& root, const HttpAddress& address, const DataPath& path)
        : m_address(address), m_path(path), m_keyValueAddress(KeyValueAddress(root, address)) {
        if (const XmlElement* provider = root.Child(L"ServiceProvider"); provider != nullptr) {
            m_attribution = Utf8(provider->TextOf(L"ProviderName"));
        }
        if (const XmlElement* contents = root.Child(L"Contents"); contents != nullptr) {
            for (const XmlElement* set : contents->Children(L"TileMatrixSet")) {
                m_sets[set->TextOf(L"Identifier")] = set;
            }
        }
    }

    /// The map of a layer; null, with the reason.
    std::shared_ptr<const WebMap> Read(const XmlElement& layer, std::string& reason) const {
        std::optional<WmtsPyramid> chosen;
        std::string setName;
        reason = "it has no matrix set that can be used";
        for (const XmlElement* link : layer.Children(L"TileMatrixSetLink")) {
            const std::wstring name = link->TextOf(L"TileMatrixSet");
            const auto set = m_sets.find(name);
            auto pyramid = set != m_sets.end()
                               ? ReadWmtsPyramid(*set->second, Limits(*link), reason)
                               : std::nullopt;
            if (pyramid && (!chosen || (pyramid->isMercator && !chosen->isMercator))) {
                chosen = std::move(pyramid);
                setName = Utf8(name);
            }
        }
        if (!chosen) {
            return nullptr;
        }
        MapFacts facts = Facts(layer);
        const std::string pattern = Pattern(layer, setName, facts.format);
        if (pattern.empty()) {
            reason = "its tiles have no format or address that can be used";
            return nullptr;
        }
        facts = m_path.Over(facts);
        facts.tileSize = facts.tileSize.value_or(chosen->tileSize);
        const int first = chosen->pyramid.firstLayer;
        const int count = static_cast<int>(chosen->matrices.size());
        return MakeMap(facts, chosen->pyramid, Extent(facts, *chosen), count, chosen->isMercator,
                       std::make_shared<CWmtsSource>(pattern, first, chosen->matrices), reason);
    }

private:
    /// The matrices that the layer has tiles in; empty: all.
    static std::set<std::wstring> Limits(const XmlElement& link) {
        std::set<std::wstring> names;
        if (const XmlElement* limits = link.Child(L"TileMatrixSetLimits"); limits != nullptr) {
            for (const XmlElement* one : limits->Children(L"TileMatrixLimits")) {
                names.insert(one->TextOf(L"TileMatrix"));
            }
        }
        return names;
    }

    MapFacts Facts(const XmlElement& layer) const {
        MapFacts facts;
        facts.name = Utf8(layer.TextOf(L"Title"));
        if (facts.name.empty()) {
            facts.name = Utf8(layer.TextOf(L"Identifier"));
        }
        facts.description = Utf8(layer.TextOf(L"Abstract"));
        facts.attribution = m_attribution;
        if (const XmlElement* box = layer.Child(L"WGS84BoundingBox"); box != nullptr) {
            const auto lower = ParseWmtsPair(box->TextOf(L"LowerCorner"));
            const auto upper = ParseWmtsPair(box->TextOf(L"UpperCorner"));
            if (lower && upper) {
                facts.bounds = {(*lower)[0], (*lower)[1], (*upper)[0], (*upper)[1]};
            }
        }
        return facts;
    }

    /// In the pyramid's units; all of it without usable bounds.
    static MapExtent Extent(const MapFacts& facts, const WmtsPyramid& chosen) {
        if (facts.bounds) {
            const auto& [west, south, east, north] = *facts.bounds;
            if (west < east && south < north) {
                return chosen.isMercator
                           ? MapExtent{west, MercatorOrdinate(south), east, MercatorOrdinate(north)}
                           : MapExtent{west, south, east, north};
            }
        }
        return chosen.pyramid.extent;
    }

    /// The pattern of the tiles' addresses; `format` receives its ending. Empty when there is none.
    std::string Pattern(const XmlElement& layer, const std::string& setName,
                        std::string& format) const {
        std::map<std::string, std::string> values{
            {"tilematrixset", Encoded(setName)},
            {"layer", Encoded(Utf8(layer.TextOf(L"Identifier")))}};
        for (const XmlElement* style : layer.Children(L"Style")) {
            if (values["style"].empty() || style->Attribute(L"isDefault") == L"true") {
                values["style"] = Encoded(Utf8(style->TextOf(L"Identifier")));
            }
        }
        std::string dimensions;
        for (const XmlElement* dimension : layer.Children(L"Dimension")) {
            const std::string name = Utf8(dimension->TextOf(L"Identifier"));
            const std::string value = Encoded(Utf8(dimension->TextOf(L"Default")));
            values[SmallLetters(name)] = value;
            dimensions += '&' + Encoded(name) + '=' + value;
        }
        std::string pattern;
        int best = 2;
        for (const XmlElement* resource : layer.Children(L"ResourceURL")) {
            const std::string type = Utf8(resource->Attribute(L"format"));
            const auto rank = Rank(type);
            if (resource->Attribute(L"resourceType") == L"tile" && rank && *rank < best) {
                best = *rank;
                format = type;
                pattern = Utf8(resource->Attribute(L"template"));
            }
        }
        if (pattern.empty()) {
            for (const XmlElement* one : layer.Children(L"Format")) {
                const auto rank = Rank(Utf8(one->text));
                if (rank && *rank < best) {
                    best = *rank;
                    format = Utf8(one->text);
                }
            }
            if (format.empty()) {
                return {};
            }
            pattern = m_keyValueAddress.empty() ? m_address.ForLog() : m_keyValueAddress;
            pattern += pattern.find('?') == std::string::npos ? "?" : "&";
            pattern +=
                "service=WMTS&request=GetTile&version=1.0.0&layer={layer}&style={style}"
                "&tilematrixset={tilematrixset}&format=" +
                Encoded(format) + dimensions +
                "&tilematrix={tilematrix}&tilerow={tilerow}&tilecol={tilecol}";
        }
        const std::size_t slash = format.find('/');
        format = format.substr(slash + 1, format.find(';') - slash - 1);
        return Fill(pattern, values);
    }

    const HttpAddress& m_address;
    const DataPath& m_path;
    const std::string m_keyValueAddress;
    std::string m_attribution;
    std::map<std::wstring, const XmlElement*> m_sets;
};

}  // namespace

std::vector<std::shared_ptr<const WebMap>> ReadWmts(const XmlElement& capabilities,
                                                    const HttpAddress& address,
                                                    const DataPath& path,
                                                    std::vector<WmtsProblem>& problems) {
    std::vector<std::shared_ptr<const WebMap>> maps;
    const XmlElement* contents = capabilities.Child(L"Contents");
    if (capabilities.name != L"Capabilities" || contents == nullptr) {
        problems.push_back({"", "it is no WMTS capabilities document"});
        return maps;
    }
    const Capabilities reader(capabilities, address, path);
    for (const XmlElement* layer : contents->Children(L"Layer")) {
        std::string reason;
        if (maps.size() == kMostMaps) {
            problems.push_back({"", "it has more than 1000 layers"});
            break;
        }
        if (auto map = reader.Read(*layer, reason); map != nullptr) {
            maps.push_back(std::move(map));
        } else {
            problems.push_back({Utf8(layer->TextOf(L"Identifier")), reason});
        }
    }
    return maps;
}

HttpResult CWmtsSource::Load(int layer, const PyramidTile& tile, const WebAccess& access,
                             const Cancellation& cancellation,
                             const HttpHeaders& conditions) const {
    HttpResult none;
    none.outcome = HttpOutcome::Absent;
    const auto step = static_cast<std::size_t>(layer - m_firstLayer);
    if (step >= m_matrices.size() || tile.column >= m_matrices[step].columns ||
        tile.row >= m_matrices[step].rows) {
        return none;
    }
    const auto address =
        HttpAddress::Parse(Fill(m_pattern, {{"tilematrix", Encoded(m_matrices[step].id)},
                                            {"tilecol", std::to_string(tile.column)},
                                            {"tilerow", std::to_string(tile.row)}}));
    return address ? access.fetcher.Fetch(*address, access.identity, kTileLimits, cancellation,
                                          conditions)
                   : none;
}

}  // namespace Terrascope::Plugins

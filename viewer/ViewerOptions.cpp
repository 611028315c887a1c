#include "viewer/ViewerOptions.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "viewer/MapAddress.h"

namespace Viewer {
namespace {

/// One option: whether it takes a value, what that must be, and how it is stored (false: refused).
struct Option {
    std::string_view name;
    std::string_view wants;  ///< empty: the option takes no value
    std::function<bool(ViewerOptions&, const std::string&)> store;
};

template <typename Value>
bool Keep(std::optional<Value>& place, std::optional<Value> value) {
    place = value;
    return value.has_value();
}

bool KeepText(std::string& place, const std::string& text) {
    place = text;
    return !text.empty();
}

bool EqualsNoCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b;
    });
}

bool AddData(ViewerOptions& options, const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos) {
        return false;
    }
    DataSource source;
    source.role = text.substr(0, equals);
    // Only the first comma parts: a path may contain more.
    const size_t comma = text.find(',', equals);
    source.name = text.substr(equals + 1, comma == std::string::npos ? comma : comma - equals - 1);
    source.path = comma == std::string::npos ? "" : text.substr(comma + 1);
    const bool known = EqualsNoCase(source.role, "LOCAL") || EqualsNoCase(source.role, "REMOTE");
    if (!known || source.name.empty()) {
        return false;
    }
    options.data.push_back(std::move(source));
    return true;
}

const std::vector<Option>& AllOptions() {
    static const std::vector<Option> all = {
        {"--help", "", [](ViewerOptions& o, const std::string&) { return o.help = true; }},
        {"--version", "", [](ViewerOptions& o, const std::string&) { return o.version = true; }},
        {"--list", "", [](ViewerOptions& o, const std::string&) { return o.list = true; }},
        {"--map", "a map's name",
         [](ViewerOptions& o, const std::string& text) { return KeepText(o.map, text); }},
        {"--layer", "a layer number",
         [](ViewerOptions& o, const std::string& text) {
             return Keep(o.layer, ParseInt(text, 0, 1000));
         }},
        {"--center", "X,Y in map units",
         [](ViewerOptions& o, const std::string& text) {
             return Keep(o.center, ParseMapPoint(text));
         }},
        {"--size", "WIDTHxHEIGHT in pixels, from 16x16 to 8192x8192",
         [](ViewerOptions& o, const std::string& text) {
             return Keep(o.size, ParsePixelSize(text));
         }},
        {"--snapshot", "the PNG file to write",
         [](ViewerOptions& o, const std::string& text) { return KeepText(o.snapshotFile, text); }},
        {"--tour", "a file of tour steps, or - for standard input",
         [](ViewerOptions& o, const std::string& text) { return KeepText(o.tourFile, text); }},
        {"--timeout", "seconds, from 0.1 to 3600",
         [](ViewerOptions& o, const std::string& text) {
             o.timeoutSeconds = ParseNumber(text).value_or(0);
             return o.timeoutSeconds >= 0.1 && o.timeoutSeconds <= 3600;
         }},
        {"--keep", "a folder, or - for none",
         [](ViewerOptions& o, const std::string& text) { return KeepText(o.keepIn, text); }},
        {"--data", "LOCAL=PROVIDER,PATH or REMOTE=PROVIDER,PATH", AddData},
    };
    return all;
}

}  // namespace

std::optional<ViewerOptions> ParseOptions(const std::vector<std::string>& arguments,
                                          std::string& error) {
    ViewerOptions options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (!name.starts_with('-') && options.file.empty()) {
            options.file = name;
            continue;
        }
        const auto option =
            std::find_if(AllOptions().begin(), AllOptions().end(),
                         [&name](const Option& candidate) { return candidate.name == name; });
        if (option == AllOptions().end()) {
            error = "unknown option \"" + WithoutSecrets(name) + "\"; --help lists the options";
            return std::nullopt;
        }
        if (option->wants.empty()) {
            option->store(options, "");
            continue;
        }
        const std::string wants = name + " wants " + std::string(option->wants);
        if (++i == arguments.size()) {
            error = wants;
            return std::nullopt;
        }
        if (!option->store(options, arguments[i])) {
            error = wants + ", not \"" + WithoutSecrets(arguments[i]) + "\"";
            return std::nullopt;
        }
    }
    if (options.map.empty() && options.file.empty() &&
        (options.layer || options.center || !options.snapshotFile.empty() ||
         !options.tourFile.empty())) {
        error = "name a map with --map NAME; --list prints the names";
        return std::nullopt;
    }
    return options;
}

std::string_view OptionsHelp() {
    return R"(TerrascopeViewer [options] [FILE or ADDRESS]: shows tiled raster maps.
  FILE                an MBTiles, GeoPackage or PMTiles file, a folder of them, or a folder of maps
  ADDRESS             http or https: a TileJSON or WMTS document, a PMTiles archive, or a template
                      as https://host/{z}/{x}/{y}.png#name=Streets; plugins/web/README.md has all
  --map NAME          opens this map; without it the only one of FILE, or a dialog lets you choose
  --layer N           shows this layer of the map, else the first
  --center X,Y        puts this map point in the middle
  --size WxH          makes the map view this many pixels
  --list              prints the maps: name, layers, west, south, east, north
  --data ROLE=PROVIDER,PATH
                      chooses a provider where Terrascope.ini names none (where it does, a line on
                      standard error says so); ROLE is LOCAL or REMOTE, PATH is relative to the
                      library's folder
  --keep FOLDER       keeps the tiles of ADDRESS that are shown there, for times without a server;
                      - keeps none; without it they are kept in a folder for each address under
                      %LOCALAPPDATA%\Terrascope\Viewer
  --snapshot FILE     writes the complete picture as PNG, prints how long it took, and ends
  --tour FILE         plays a tour (- reads it from standard input), prints each step, and ends
  --timeout S         how long to wait for a complete picture (30)
  --version, --help   print and end
Tour steps, one a line, # begins a comment:
  tool arrow|zoomin|zoomout|pan    drag X1,Y1 X2,Y2 [moves]    click X,Y    wheel STEPS X,Y
  key left|right|up|down|home|+|-|1|2|3|4    layer N    center X,Y    size WxH
  wait    frames N    snapshot FILE    drop FILE
Exit code 0, or 2 after one line on standard error that says what is wrong.
)";
}

}  // namespace Viewer

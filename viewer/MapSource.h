#pragma once

#include <optional>
#include <string>

namespace Viewer {

/// A provider for a role, as CMapAssistant::SetTileMapInfoProvider takes it. The path is absolute
/// or relative to the library's folder.
struct DataSource {
    std::string role;
    std::string name;
    std::string path;
};

/// The providers, and the map that the user means; an empty map: any. No plug-in has the name
/// "None": the local provider is on its own.
struct MapSource {
    static constexpr char kNoProvider[] = "None";

    DataSource data;
    std::string map;
    DataSource remote = {"REMOTE", kNoProvider, ""};
};

/// Who can show a file or a folder that the user wants to open, and under which data path. It goes
/// by what is in there, not by the ending: an archive of tiles, a folder of them; a folder of maps,
/// a map's folder, or the description in it. Nothing when it is none of them; `error` is then one
/// sentence about it.
std::optional<MapSource> FindMapSource(const std::string& path, std::string& error);

/// The provider that Terrascope.ini beside the library names for a role, and which so wins over
/// any other; empty when it names none. `file` receives the path of the settings.
std::string ProviderOfSettings(const std::string& role, std::string& file);

}  // namespace Viewer

#include "viewer/MapSource.h"

#include <afxwin.h>

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "viewer/LibraryFolder.h"

namespace Viewer {
namespace {

namespace fs = std::filesystem;

constexpr char kFolders[] = "SplittedFileTileMapInfoProvider";
constexpr char kArchives[] = "DBTileMapInfoProvider";
constexpr char kDescription[] = "map.ini";
constexpr std::size_t kLookedAt = 4096;  // bytes

using namespace std::string_view_literals;

/// https://www.sqlite.org/fileformat.html, 1.3, and PMTiles 3, "Header".
constexpr std::string_view kArchiveBeginnings[] = {"SQLite format 3\0"sv, "PMTiles"sv};

std::string Beginning(const fs::path& file) {
    std::string bytes(kLookedAt, '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

bool IsArchive(std::string_view beginning) {
    for (const std::string_view magic : kArchiveBeginnings) {
        if (beginning.starts_with(magic)) {
            return true;
        }
    }
    return false;
}

bool HasArchive(const fs::path& folder) {
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        std::error_code unreadable;
        if (entry->is_regular_file(unreadable) && IsArchive(Beginning(entry->path()))) {
            return true;
        }
    }
    return false;
}

bool Exists(const fs::path& path) {
    std::error_code failure;
    return fs::exists(path, failure);
}

/// A map's folder is found through the folder of maps that it lies in.
MapSource SourceOfMap(const fs::path& folder) {
    char name[256] = "";
    GetPrivateProfileStringA("MAP", "NAME", folder.filename().string().c_str(), name, sizeof(name),
                             (folder / kDescription).string().c_str());
    return {{"LOCAL", kFolders, folder.parent_path().string()}, name};
}

MapSource SourceOfFolder(const fs::path& folder) {
    if (Exists(folder / kDescription) && folder.has_relative_path()) {
        return SourceOfMap(folder);
    }
    return {{"LOCAL", HasArchive(folder) ? kArchives : kFolders, folder.string()}, ""};
}

}  // namespace

std::optional<MapSource> FindMapSource(const std::string& path, std::string& error) try {
    std::error_code failure;
    fs::path absolute = fs::absolute(path, failure).lexically_normal();
    if (!absolute.has_filename()) {
        absolute = absolute.parent_path();  // a separator at the end
    }
    if (failure || !Exists(absolute)) {
        error = "there is no file or folder \"" + path + "\"";
        return std::nullopt;
    }
    if (fs::is_directory(absolute, failure)) {
        return SourceOfFolder(absolute);
    }
    const std::string beginning = Beginning(absolute);
    if (IsArchive(beginning)) {
        return MapSource{{"LOCAL", kArchives, absolute.string()}, ""};
    }
    if (beginning.find("<TileMap") != std::string::npos ||
        beginning.find("[MAP]") != std::string::npos) {
        return SourceOfFolder(absolute.parent_path());
    }
    error = "\"" + path +
            "\" is no map: expected an MBTiles, GeoPackage or PMTiles file, or a folder with maps";
    return std::nullopt;
} catch (const std::exception& failure) {
    error = "\"" + path + "\" cannot be opened: " + failure.what();
    return std::nullopt;
}

std::string ProviderOfSettings(const std::string& role, std::string& file) {
    file = BesideLibrary("Terrascope.ini").GetString();
    char name[256] = "";
    GetPrivateProfileStringA("TILE_MAP_INFO_PROVIDER_LOCAL_REMOTE", role.c_str(), "", name,
                             sizeof(name), file.c_str());
    return name;
}

}  // namespace Viewer

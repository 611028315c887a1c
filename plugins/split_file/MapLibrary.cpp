#include "plugins/split_file/MapLibrary.h"

#include <algorithm>
#include <set>

#include "plugins/common/SafePath.h"
#include "plugins/common/kept/KeptSettings.h"
#include "plugins/split_file/NumberedTiles.h"
#include "plugins/split_file/TileResource.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/ini/MemIniFile.h"

namespace Terrascope::Plugins {
namespace {

constexpr wchar_t kIniDescription[] = L"map.ini";
constexpr wchar_t kTileResource[] = L"tilemapresource.xml";
constexpr std::uint64_t kLargestDescription = 1024 * std::uint64_t{1024};  // bytes

void LeaveOut(const CString& file, const char* reason) {
    LogLine("map left out: '%s': %s", file.GetString(), reason);
}

/// A file system may write times in steps of two seconds (FAT: Microsoft's "File Times"), so a
/// second change this soon after the first may show the same time.
constexpr FileTime kCoarsestStep = 3 * FileTime{10'000'000};

FileTime Now() {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    return FileTime{now.dwHighDateTime} << 32 | now.dwLowDateTime;
}

/// Logs what is wrong with a map or its description.
void LogProblems(const CString& file, const MapReading& reading) {
    for (const MapProblem& problem : reading.problems) {
        LogLine("%s: '%s': [%s] %s: %s", reading.map != nullptr ? "passed over" : "map left out",
                file.GetString(), problem.section.GetString(), problem.key.GetString(),
                problem.reason.GetString());
    }
}

/// The map that a file in its folder describes; null when it cannot be used.
std::unique_ptr<MapDescription> ReadDescribedMap(const MapFolder& facts,
                                                 const std::wstring& mapFolder,
                                                 const CString& folderName) {
    const std::wstring widePath = mapFolder + L'\\' + facts.description;
    const std::optional<CString> path = ToNarrow(widePath);
    if (!path) {
        LeaveOut(CString(widePath.c_str()), "the active code page lacks a letter of its name");
        return nullptr;
    }
    if (facts.file->size > kLargestDescription) {
        LeaveOut(*path, "larger than 1 MiB");
        return nullptr;
    }
    const SYSTEMTIME time = LocalTime(facts.file->lastWrite);
    MapReading reading;
    if (facts.description == kIniDescription) {
        CMemIniFile file(*path, false);
        reading = ReadMapDescription(file, folderName, time);
    } else if (const auto bytes = ReadWholeFile(widePath, kLargestDescription)) {
        reading = ReadTileResource(*bytes, mapFolder, folderName, time);
    } else {
        LeaveOut(*path, "cannot be read");
    }
    LogProblems(*path, reading);
    if (reading.map != nullptr) {
        reading.map->folder = mapFolder;
    }
    return std::move(reading.map);
}

/// The map in a folder, described or not; null when there is none that can be used.
std::unique_ptr<MapDescription> ReadMap(const MapFolder& facts, const std::wstring& mapFolder) {
    const std::optional<CString> name =
        ToNarrow(mapFolder.substr(mapFolder.find_last_of(L'\\') + 1));
    if (facts.file) {
        return ReadDescribedMap(facts, mapFolder, name.value_or("?"));
    }
    return name ? ReadNumberedTiles(mapFolder, *name, LocalTime(facts.folder.lastWrite)) : nullptr;
}

/// Finds the description of the folder's map.
void LookAtDescription(const std::wstring& mapFolder, FileTime now, MapFolder& facts,
                       std::initializer_list<const wchar_t*> names) {
    for (const wchar_t* name : names) {
        facts.description = name;
        facts.file = LookAtFile(mapFolder + L'\\' + name);
        if (facts.file) {
            facts.settled = facts.file->lastWrite + kCoarsestStep < now;
            return;
        }
    }
}

/// Whether the map that was read still is what reading again would give. An unusable description
/// never is: the file may have been locked.
bool IsCurrent(const MapFolder& former, const MapFolder& now) {
    return former.map != nullptr && former.settled && former.folder == now.folder &&
           former.file == now.file && former.description == now.description;
}

std::vector<std::shared_ptr<const MapDescription>> UsableMaps(
    const std::vector<MapFolder>& folders) {
    std::vector<std::shared_ptr<const MapDescription>> maps;
    for (const MapFolder& folder : folders) {
        if (folder.map != nullptr) {
            maps.push_back(folder.map);
        }
    }
    return maps;
}

/// The library of these maps: the first of each name.
std::shared_ptr<const MapLibrary> MakeLibrary(
    std::vector<std::shared_ptr<const MapDescription>> maps) {
    struct ByName {
        bool operator()(const CString& a, const CString& b) const { return a.CompareNoCase(b) < 0; }
    };
    std::set<CString, ByName> names;
    std::erase_if(maps, [&](const std::shared_ptr<const MapDescription>& map) {
        const auto [name, isFirst] = names.insert(map->info.strName);
        if (!isFirst) {
            LogLine("map left out: the folder '%s': another map is called '%s'",
                    CString(map->folder.c_str()).GetString(), map->info.strName.GetString());
        }
        return !isFirst;
    });
    return std::make_shared<MapLibrary>(std::move(maps));
}

}  // namespace

std::shared_ptr<const LibraryReading> ReadMapLibrary(const std::wstring& folder,
                                                     const LibraryReading* former) {
    const FileTime start = Now();
    auto listed = ListFolders(folder);
    if (!listed) {
        return nullptr;
    }
    std::erase_if(*listed, [](const FolderFacts& facts) { return IsKeptFolder(facts.name); });
    auto reading = std::make_shared<LibraryReading>();
    MapFolder whole;
    LookAtDescription(folder, start, whole, {kTileResource});
    for (const FolderFacts& facts : *listed) {
        whole.folder.lastWrite = std::max(whole.folder.lastWrite, facts.lastWrite);
    }
    // Numbered tiles have a folder for each zoom level and no other.
    if (whole.file || listed->size() <= kDeepestAddressableLayer + 1) {
        whole.map = ReadMap(whole, folder);
    }
    if (whole.map != nullptr) {
        reading->library = MakeLibrary({whole.map});
        reading->folders.push_back(std::move(whole));
        return reading;
    }
    static const LibraryReading nothing;
    const LibraryReading& before = former != nullptr ? *former : nothing;
    auto known = before.folders.begin();  // both are in the same order
    reading->folders.reserve(listed->size());
    for (FolderFacts& facts : *listed) {
        while (known != before.folders.end() && ComesBefore(known->folder, facts)) {
            ++known;
        }
        const std::wstring mapFolder = folder + L'\\' + facts.name;
        MapFolder& now = reading->folders.emplace_back();
        now.folder = std::move(facts);
        LookAtDescription(mapFolder, start, now, {kIniDescription, kTileResource});
        if (known != before.folders.end() && IsCurrent(*known, now)) {
            now.map = known->map;
        } else {
            now.map = ReadMap(now, mapFolder);
        }
    }
    auto maps = UsableMaps(reading->folders);
    reading->library = former != nullptr && maps == UsableMaps(former->folders)
                           ? former->library
                           : MakeLibrary(std::move(maps));
    return reading;
}

std::shared_ptr<const MapDescription> FindMap(const MapLibrary& library, const CString& name) {
    for (const auto& map : library) {
        if (map->info.strName.CompareNoCase(name) == 0) {
            return map;
        }
    }
    return nullptr;
}

}  // namespace Terrascope::Plugins

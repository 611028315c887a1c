#include "plugins/split_file/MapLibrary.h"

#include <set>

#include "plugins/common/SafePath.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/ini/MemIniFile.h"

namespace Terrascope::Plugins {
namespace {

constexpr wchar_t kDescriptionFile[] = L"map.ini";
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

SYSTEMTIME LocalTime(FileTime time) {
    const FILETIME parts{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    ::FileTimeToSystemTime(&parts, &utc);
    ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local);
    return local;
}

/// The map that the file in one sub-folder describes; null when it cannot be used.
std::unique_ptr<MapDescription> ReadMap(const std::wstring& mapFolder, const std::wstring& name,
                                        const FileFacts& facts) {
    const std::wstring widePath = mapFolder + L'\\' + kDescriptionFile;
    const std::optional<CString> path = ToNarrow(widePath);
    const std::optional<CString> folderName = ToNarrow(name);
    if (!path || !folderName) {
        LeaveOut(CString(widePath.c_str()), "the active code page lacks a letter of its name");
        return nullptr;
    }
    if (facts.size > kLargestDescription) {
        LeaveOut(*path, "larger than 1 MiB");
        return nullptr;
    }
    CMemIniFile file(*path, false);
    MapReading reading = ReadMapDescription(file, *folderName, LocalTime(facts.lastWrite));
    for (const MapProblem& problem : reading.problems) {
        LogLine("%s: '%s': [%s] %s: %s", reading.map != nullptr ? "passed over" : "map left out",
                path->GetString(), problem.section.GetString(), problem.key.GetString(),
                problem.reason.GetString());
    }
    if (reading.map != nullptr) {
        reading.map->folder = mapFolder;
    }
    return std::move(reading.map);
}

/// Whether the map that was read still is what reading again would give. An unusable description
/// never is: the file may have been locked.
bool IsCurrent(const MapFolder& former, const MapFolder& now) {
    return former.map != nullptr && former.settled && former.folder == now.folder &&
           former.file == now.file;
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
            LogLine("map left out: '%s\\map.ini': [MAP] NAME: another map is called '%s'",
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
    static const LibraryReading nothing;
    const LibraryReading& before = former != nullptr ? *former : nothing;
    auto known = before.folders.begin();  // both are in the same order
    auto reading = std::make_shared<LibraryReading>();
    reading->folders.reserve(listed->size());
    for (FolderFacts& facts : *listed) {
        while (known != before.folders.end() && ComesBefore(known->folder, facts)) {
            ++known;
        }
        const std::wstring mapFolder = folder + L'\\' + facts.name;
        MapFolder& now = reading->folders.emplace_back();
        now.folder = std::move(facts);
        now.file = LookAtFile(mapFolder + L'\\' + kDescriptionFile);
        if (!now.file) {
            continue;
        }
        now.settled = now.file->lastWrite + kCoarsestStep < start;
        if (known != before.folders.end() && IsCurrent(*known, now)) {
            now.map = known->map;
        } else {
            now.map = ReadMap(mapFolder, now.folder.name, *now.file);
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

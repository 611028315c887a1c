#include "plugins/split_file/MapLibrary.h"

#include "plugins/common/FolderFiles.h"
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

SYSTEMTIME LocalTime(const FILETIME& time) {
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    ::FileTimeToSystemTime(&time, &utc);
    ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local);
    return local;
}

/// The map in one sub-folder; null when there is none, or none that can be used.
std::unique_ptr<MapDescription> ReadMap(const std::wstring& folder, const std::wstring& name) {
    const std::wstring mapFolder = folder + L'\\' + name;
    const std::wstring widePath = mapFolder + L'\\' + kDescriptionFile;
    const std::optional<FileFacts> facts = LookAtFile(widePath);
    if (!facts) {
        return nullptr;
    }
    const std::optional<CString> path = ToNarrow(widePath);
    const std::optional<CString> folderName = ToNarrow(name);
    if (!path || !folderName) {
        LeaveOut(CString(widePath.c_str()), "the active code page lacks a letter of its name");
        return nullptr;
    }
    if (facts->size > kLargestDescription) {
        LeaveOut(*path, "larger than 1 MiB");
        return nullptr;
    }
    CMemIniFile file(*path, false);
    MapReading reading = ReadMapDescription(file, *folderName, LocalTime(facts->lastWrite));
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

}  // namespace

std::shared_ptr<const MapLibrary> ScanMapLibrary(const std::wstring& folder) {
    const auto names = ListFolders(folder);
    if (!names) {
        return nullptr;
    }
    auto library = std::make_shared<MapLibrary>();
    for (const std::wstring& name : *names) {
        std::shared_ptr<const MapDescription> map = ReadMap(folder, name);
        if (map == nullptr) {
            continue;
        }
        if (FindMap(*library, map->info.strName) != nullptr) {
            LogLine("map left out: '%s\\map.ini': [MAP] NAME: another map is called '%s'",
                    CString(map->folder.c_str()).GetString(), map->info.strName.GetString());
            continue;
        }
        library->push_back(std::move(map));
    }
    return library;
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

#include "plugins/common/kept/KeptLimit.h"

#include <windows.h>

#include <algorithm>
#include <map>
#include <vector>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/WatchedFile.h"
#include "plugins/common/kept/KeptFile.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kTimeToLook = 10'000;  // milliseconds, for one file
constexpr std::size_t kTilesAtOnce = 32;
constexpr std::uint64_t kSpare = 10;  // a tenth of the limit

struct KeptEntry {
    std::int64_t lastUse = 0;
    std::size_t file = 0;
    KeptPlace place;
    std::uint64_t bytes = 0;
};

std::vector<std::wstring> FilesIn(const std::wstring& folder) {
    std::vector<std::wstring> paths;
    for (const std::wstring& name : ListFiles(folder).value_or(std::vector<std::wstring>())) {
        if (name.ends_with(L".mbtiles")) {
            paths.push_back(std::wstring(folder).append(L"\\").append(name));
        }
    }
    return paths;
}

std::uint64_t SizeOf(const std::vector<std::wstring>& paths) {
    std::uint64_t size = 0;
    for (const std::wstring& path : paths) {
        size += LookAtFile(path).value_or(FileFacts()).size;
    }
    return size;
}

void ListTiles(const std::wstring& path, std::size_t file, const CSqliteWriter::MayWait& mayWait,
               std::vector<KeptEntry>& entries) {
    std::string ignored;
    const auto database = CSqliteConnection::Open(path, ignored);
    if (database == nullptr) {
        return;
    }
    database->AllowTime(kTimeToLook);
    CSqliteStatement tiles = database->Prepare(
        "SELECT k.last_use, k.zoom_level, k.tile_column, k.tile_row, length(t.tile_data) "
        "FROM kept_tiles k JOIN tiles t ON k.zoom_level = t.zoom_level AND "
        "k.tile_column = t.tile_column AND k.tile_row = t.tile_row");
    while (mayWait() && tiles.Next()) {
        entries.push_back({tiles.Whole(0),
                           file,
                           {static_cast<int>(tiles.Whole(1)), tiles.Whole(2), tiles.Whole(3)},
                           static_cast<std::uint64_t>(std::max<std::int64_t>(tiles.Whole(4), 0))});
    }
}

void DropTiles(const std::wstring& path, const std::vector<KeptPlace>& places,
               const CSqliteWriter::MayWait& mayWait) {
    const auto file = CWatchedFile::Open(path);
    const auto database = file != nullptr ? CSqliteWriter::Open(path, mayWait) : nullptr;
    if (database == nullptr || database->Run("BEGIN IMMEDIATE") != SqliteFailure::None ||
        !file->IsInPlaceNow()) {
        return;
    }
    for (const KeptPlace& place : places) {
        for (const char* table : {"tiles", "kept_tiles"}) {
            CSqliteStatement drop = database->Prepare(
                std::string("DELETE FROM ")
                    .append(table)
                    .append(" WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3"));
            if (!drop.Bind(1, std::int64_t{place.zoom})
                     .Bind(2, place.column)
                     .Bind(3, place.row)
                     .Run()) {
                return;  // undone as it goes
            }
        }
    }
    database->Run("COMMIT");
}

}  // namespace

void KeepWithin(const std::wstring& folder, std::uint64_t limit,
                const CSqliteWriter::MayWait& mayWait) {
    std::vector<std::wstring> paths = FilesIn(folder);
    if (SizeOf(paths) <= limit) {
        return;
    }
    std::vector<KeptEntry> entries;
    std::erase_if(paths, [](const std::wstring& path) { return !HasKeptTiles(path); });
    for (std::size_t i = 0; i < paths.size(); ++i) {
        ListTiles(paths[i], i, mayWait, entries);
    }
    const std::uint64_t size = SizeOf(paths);
    if (size <= limit) {
        return;
    }
    const std::uint64_t surplus = size - (limit - limit / kSpare);
    std::sort(entries.begin(), entries.end(),
              [](const KeptEntry& a, const KeptEntry& b) { return a.lastUse < b.lastUse; });
    std::map<std::size_t, std::vector<KeptPlace>> chunks;
    std::uint64_t freed = 0;
    for (const KeptEntry& entry : entries) {
        if (freed >= surplus || !mayWait()) {
            break;
        }
        freed += entry.bytes;
        std::vector<KeptPlace>& chunk = chunks[entry.file];
        chunk.push_back(entry.place);
        if (chunk.size() == kTilesAtOnce) {
            DropTiles(paths[entry.file], chunk, mayWait);
            chunk.clear();
        }
    }
    for (const auto& [file, chunk] : chunks) {
        DropTiles(paths[file], chunk, mayWait);
        DeleteIfEmpty(paths[file], mayWait);
    }
}

void DeleteIfEmpty(const std::wstring& path, const CSqliteWriter::MayWait& mayWait) {
    const std::wstring gone = path + L".gone";
    {
        const auto file = CWatchedFile::Open(path);
        const auto database = file != nullptr ? CSqliteWriter::Open(path, mayWait) : nullptr;
        // Under the lock: who waits for it finds that the file is no longer in its place. By
        // another name: a file that others have open keeps its name until they close it.
        if (database == nullptr || database->Run("BEGIN EXCLUSIVE") != SqliteFailure::None ||
            !file->IsInPlaceNow()) {
            return;
        }
        CSqliteStatement tile = database->Prepare("SELECT 1 FROM tiles LIMIT 1");
        if (tile.Next() || tile.HasFailed()) {
            return;
        }
        ::MoveFileExW(path.c_str(), gone.c_str(), MOVEFILE_REPLACE_EXISTING);
    }
    ::DeleteFileW(gone.c_str());
}

}  // namespace Terrascope::Plugins

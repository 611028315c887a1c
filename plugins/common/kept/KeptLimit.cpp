#include "plugins/common/kept/KeptLimit.h"

#include <windows.h>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/WatchedFile.h"
#include "plugins/common/kept/KeptFile.h"
#include "plugins/common/kept/KeptRemoval.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kTimeToLook = 1000;  // milliseconds, at a page of a file
constexpr std::uint64_t kLockWait = 500;     // milliseconds, for one file
constexpr std::size_t kTilesAtOnce = 32;
constexpr std::uint64_t kSpare = 10;  // a tenth of the limit

struct KeptEntry {
    std::int64_t lastUse = 0;
    std::size_t file = 0;
    KeptPlace place;
    std::uint64_t bytes = 0;
};

struct FolderContent {
    std::vector<std::wstring> files;     ///< that may be of kept tiles
    std::vector<std::wstring> remnants;  ///< drafts, and what was damaged
};

FolderContent LookInto(const std::wstring& folder) {
    FolderContent content;
    for (const std::wstring& name : ListFiles(folder).value_or(std::vector<std::wstring>())) {
        const std::wstring path = std::wstring(folder).append(L"\\").append(name);
        if (name.ends_with(L".mbtiles")) {
            content.files.push_back(path);
        } else if (name.ends_with(L".mbtiles.damaged") || name.ends_with(L".mbtiles.gone") ||
                   (name.starts_with(L"maps-") && name.find(L".json.") != std::wstring::npos)) {
            content.remnants.push_back(path);
        }
    }
    return content;
}

std::uint64_t SizeOf(const std::vector<std::wstring>& paths) {
    std::uint64_t size = 0;
    for (const std::wstring& path : paths) {
        size += LookAtFile(path).value_or(FileFacts()).size;
    }
    return size;
}

/// True for half a second at most.
CSqliteWriter::MayWait ForOneFile(const CSqliteWriter::MayWait& mayWait) {
    const std::uint64_t end = ::GetTickCount64() + kLockWait;
    return [=] { return ::GetTickCount64() < end && mayWait(); };
}

/// In short pages, so that no writer waits long.
void ListTiles(const std::wstring& path, std::size_t file, const CSqliteWriter::MayWait& mayWait,
               std::vector<KeptEntry>& entries) {
    std::string ignored;
    const auto database = CSqliteConnection::Open(path, ignored);
    if (database == nullptr) {
        return;
    }
    CSqliteStatement tiles = database->Prepare(
        "SELECT k.last_use, k.zoom_level, k.tile_column, k.tile_row, length(t.tile_data) "
        "FROM kept_tiles k JOIN tiles t ON k.zoom_level = t.zoom_level AND "
        "k.tile_column = t.tile_column AND k.tile_row = t.tile_row "
        "WHERE (k.zoom_level, k.tile_column, k.tile_row) > (?1, ?2, ?3) "
        "ORDER BY k.zoom_level, k.tile_column, k.tile_row LIMIT 500");
    KeptPlace last{-1, 0, 0};
    for (bool hasMore = true; hasMore && mayWait();) {
        database->AllowTime(kTimeToLook);
        tiles.Bind(1, std::int64_t{last.zoom}).Bind(2, last.column).Bind(3, last.row);
        hasMore = false;
        while (tiles.Next()) {
            last = {static_cast<int>(tiles.Whole(1)), tiles.Whole(2), tiles.Whole(3)};
            entries.push_back(
                {tiles.Whole(0), file, last,
                 static_cast<std::uint64_t>(std::max<std::int64_t>(tiles.Whole(4), 0))});
            hasMore = true;
        }
        hasMore = hasMore && !tiles.HasFailed();
        tiles.Rewind();
    }
}

/// False when they stay, as where another program has the file locked.
bool DropTiles(const std::wstring& path, const std::vector<KeptPlace>& places,
               const CSqliteWriter::MayWait& mayWait) {
    const auto file = CWatchedFile::Open(path);
    const auto database = file != nullptr ? CSqliteWriter::Open(path, mayWait) : nullptr;
    if (database == nullptr || database->Run("BEGIN IMMEDIATE") != SqliteFailure::None ||
        !file->IsInPlaceNow()) {
        return false;
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
                return false;  // undone as it goes
            }
        }
    }
    return database->Run("COMMIT") == SqliteFailure::None;
}

}  // namespace

void KeepWithin(const std::wstring& folder, std::uint64_t limit,
                const CSqliteWriter::MayWait& mayWait) {
    FolderContent content = LookInto(folder);
    std::vector<std::wstring>& paths = content.files;
    if (SizeOf(paths) + SizeOf(content.remnants) <= limit) {
        return;
    }
    std::erase_if(paths, [](const std::wstring& path) { return !HasKeptTiles(path); });
    if (SizeOf(paths) + SizeOf(content.remnants) <= limit) {
        return;
    }
    for (const std::wstring& path : content.remnants) {
        ::DeleteFileW(path.c_str());  // a draft that is being written cannot be
    }
    const std::uint64_t size = SizeOf(paths);
    if (size <= limit) {
        return;
    }
    std::vector<KeptEntry> entries;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        ListTiles(paths[i], i, mayWait, entries);
    }
    const std::uint64_t surplus = size - (limit - limit / kSpare);
    std::sort(entries.begin(), entries.end(),
              [](const KeptEntry& a, const KeptEntry& b) { return a.lastUse < b.lastUse; });
    std::map<std::size_t, std::vector<KeptPlace>> chunks;
    std::set<std::size_t> locked;  // these are left for the next time
    const auto drop = [&](std::size_t file, std::vector<KeptPlace>& chunk) {
        if (!DropTiles(paths[file], chunk, ForOneFile(mayWait))) {
            locked.insert(file);
        }
        chunk.clear();
    };
    std::uint64_t freed = 0;
    for (const KeptEntry& entry : entries) {
        if (freed >= surplus || !mayWait()) {
            break;
        }
        if (locked.contains(entry.file)) {
            continue;
        }
        freed += entry.bytes;
        std::vector<KeptPlace>& chunk = chunks[entry.file];
        chunk.push_back(entry.place);
        if (chunk.size() == kTilesAtOnce) {
            drop(entry.file, chunk);
        }
    }
    for (auto& [file, chunk] : chunks) {
        if (!locked.contains(file) && mayWait()) {
            drop(file, chunk);
            DeleteIfEmpty(paths[file], ForOneFile(mayWait));
        }
    }
}

}  // namespace Terrascope::Plugins

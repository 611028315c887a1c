#include "plugins/common/kept/KeptRemoval.h"

#include <atomic>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/PlainText.h"
#include "plugins/common/SafePath.h"
#include "plugins/common/kept/KeptFile.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongestNote = 400;

CString Shown(const std::wstring& path) {
    return NarrowFromUtf8(Utf8FromWide(path), kLongestNote);
}

/// Deletes a file if, under its lock, `isToGo`.
template <class TIsToGo>
SqliteFailure Remove(const std::wstring& path, const CSqliteWriter::MayWait& mayWait,
                     TIsToGo isToGo) {
    const std::wstring gone = path + L".gone";
    {
        const auto file = CWatchedFile::Open(path);
        const auto database = file != nullptr ? CSqliteWriter::Open(path, mayWait) : nullptr;
        if (database == nullptr) {
            return SqliteFailure::Other;
        }
        // Under the lock: who waits for it finds that the file is no longer in its place. By
        // another name: a file that others have open keeps its name until they close it.
        const SqliteFailure failure = database->Run("BEGIN EXCLUSIVE");
        if (failure != SqliteFailure::None) {
            return failure;
        }
        if (!file->IsInPlaceNow()) {
            return SqliteFailure::Locked;  // another one is, by now
        }
        if (!isToGo(*database)) {
            return SqliteFailure::None;
        }
        if (!::MoveFileExW(path.c_str(), gone.c_str(), MOVEFILE_REPLACE_EXISTING)) {
            return SqliteFailure::Other;
        }
    }
    ::DeleteFileW(gone.c_str());
    return SqliteFailure::None;
}

bool HasNoTile(CSqliteWriter& database) {
    CSqliteStatement tile = database.Prepare("SELECT 1 FROM tiles LIMIT 1");
    return !tile.Next() && !tile.HasFailed();
}

}  // namespace

SqliteFailure RemoveMap(const std::wstring& folder, const KeptMap& map,
                        const CSqliteWriter::MayWait& mayWait) {
    SqliteFailure failure = SqliteFailure::None;
    for (const std::wstring& name : {map.OwnFileName(), map.FileName()}) {
        const std::wstring path = std::wstring(folder).append(L"\\").append(name);
        if (failure == SqliteFailure::None && LookAtFile(path)) {
            failure = Remove(path, mayWait,
                             [&map](CSqliteWriter& database) { return IsFileOf(database, map); });
        }
    }
    return failure;
}

void DeleteIfEmpty(const std::wstring& path, const CSqliteWriter::MayWait& mayWait) {
    {
        // A lock that nobody but a committing writer notices.
        const auto database = LookAtFile(path) ? CSqliteWriter::Open(path, mayWait) : nullptr;
        if (database == nullptr || !HasNoTile(*database)) {
            return;
        }
    }
    Remove(path, mayWait, HasNoTile);
}

void MoveAside(CWatchedFile& file, CSqliteWriter& database) {
    database.Run("ROLLBACK");
    // What is no database at all has no lock.
    if (database.Run("BEGIN EXCLUSIVE") == SqliteFailure::Locked || !file.IsInPlaceNow()) {
        return;
    }
    const std::wstring& path = file.Path();
    if (::MoveFileExW(path.c_str(), (path + L".damaged").c_str(), MOVEFILE_REPLACE_EXISTING)) {
        ::DeleteFileW((path + L"-journal").c_str());  // it is of no other file
        LogLine("'%s' is damaged: it is called '.damaged' from now on, and a new one is begun",
                Shown(path).GetString());
        return;
    }
    static std::atomic<bool> isLogged{false};
    if (!isLogged.exchange(true)) {
        LogLine("'%s' is damaged and cannot be renamed: nothing is kept in it",
                Shown(path).GetString());
    }
}

}  // namespace Terrascope::Plugins

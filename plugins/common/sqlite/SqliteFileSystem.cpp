#include "plugins/common/sqlite/SqliteFileSystem.h"

#include <sqlite3.h>
#include <windows.h>

#include <mutex>
#include <string_view>

namespace Terrascope::Plugins {
namespace {

/// SQLite's own way to open a file keeps it from being renamed and deleted. For a journal that is
/// right: without it, a change that is under way could not be undone.
HANDLE WINAPI OpenForDeletion(LPCWSTR name, DWORD access, DWORD share,
                              SECURITY_ATTRIBUTES* security, DWORD creation, DWORD flags,
                              HANDLE pattern) {
    const bool isJournal = std::wstring_view(name).ends_with(L"-journal");
    return ::CreateFileW(name, access, isJournal ? share : share | FILE_SHARE_DELETE, security,
                         creation, flags, pattern);
}

}  // namespace

void PrepareSqliteFiles() {
    static std::once_flag done;
    std::call_once(done, [] {
        sqlite3_initialize();
        sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
        files->xSetSystemCall(files, "CreateFileW",
                              reinterpret_cast<sqlite3_syscall_ptr>(&OpenForDeletion));
    });
}

}  // namespace Terrascope::Plugins

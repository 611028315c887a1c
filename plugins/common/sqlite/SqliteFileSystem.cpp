#include "plugins/common/sqlite/SqliteFileSystem.h"

#include <sqlite3.h>
#include <windows.h>

#include <mutex>

namespace Terrascope::Plugins {
namespace {

/// SQLite's own way to open a file keeps it from being renamed and deleted.
HANDLE WINAPI OpenForDeletion(LPCWSTR name, DWORD access, DWORD share,
                              SECURITY_ATTRIBUTES* security, DWORD creation, DWORD flags,
                              HANDLE pattern) {
    return ::CreateFileW(name, access, share | FILE_SHARE_DELETE, security, creation, flags,
                         pattern);
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

#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "plugins/common/FolderFiles.h"
#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {

/// Remembers which file a path led to, and notices when another one is in its place. The file may
/// be renamed and deleted meanwhile.
///
/// Threads: any.
class CWatchedFile {
public:
    /// Null when the file cannot be opened for reading, or is none of a disk.
    static std::unique_ptr<CWatchedFile> Open(const std::wstring& path);

    const std::wstring& Path() const { return m_path; }
    /// As of now; 0 when it cannot be asked for.
    std::uint64_t Size() const;
    FileTime LastWrite() const;

    /// Whether the path still leads to the file. The file system is asked at most ten times a
    /// second; once it is not, it never is again.
    bool IsInPlace();
    /// The same, but the file system is asked in any case.
    bool IsInPlaceNow();
    /// A further handle of the very same file, for reading; empty when there is none.
    CFileHandle OpenAgain();

private:
    struct Identity {
        DWORD volume = 0;
        std::uint64_t index = 0;
        bool operator==(const Identity&) const = default;
    };
    static CFileHandle OpenFile(const std::wstring& path, DWORD access);
    static bool Identify(HANDLE file, Identity& identity);

    CWatchedFile(const std::wstring& path, CFileHandle handle)
        : m_path(path), m_handle(std::move(handle)) {}

    const std::wstring m_path;
    /// Held open so that no other file gets this one's index.
    const CFileHandle m_handle;
    Identity m_identity;
    std::atomic<bool> m_gone{false};
    std::atomic<std::uint64_t> m_nextLook{0};  ///< GetTickCount64's milliseconds
};

}  // namespace Terrascope::Plugins

#include "terrascope/support/files/FolderLinks.h"

#include "terrascope/support/Handles.h"

namespace Terrascope {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The full path of what a path leads to; empty where the file system gives none.
std::wstring FinalPath(const std::wstring& path) {
    const CFileHandle file(::CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    std::wstring result(0x8000, L'\0');
    result.resize(file ? ::GetFinalPathNameByHandleW(file.Get(), result.data(),
                                                     static_cast<DWORD>(result.size()), 0)
                       : 0);
    return result;
}

bool DeleteLink(const std::wstring& path) {
    const CFileHandle link(::CreateFileW(
        path.c_str(), DELETE | FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
        FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    FILE_ATTRIBUTE_TAG_INFO opened{};
    // Where what was opened is no link, it is what the link leads to.
    if (!link ||
        !::GetFileInformationByHandleEx(link.Get(), FileAttributeTagInfo, &opened,
                                        sizeof(opened)) ||
        (opened.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return false;
    }
    FILE_DISPOSITION_INFO deletion{TRUE};
    return ::SetFileInformationByHandle(link.Get(), FileDispositionInfo, &deletion,
                                        sizeof(deletion)) != FALSE;
}

bool DeleteLinksInside(const std::wstring& folder) {
    WIN32_FIND_DATAW entry{};
    const CFindHandle search(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    if (!search) {
        return false;
    }
    const std::wstring place = FinalPath(folder);
    do {
        const std::wstring name = entry.cFileName;
        const std::wstring path = folder + L"\\" + name;
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (name == L"." || name == L"..") {
            continue;
        }
        bool isLink = IsLink(entry.dwFileAttributes, entry.dwReserved0);
        if (!isLink && !isFolder && !place.empty()) {
            const std::wstring opened = FinalPath(path);
            isLink = !opened.empty() && opened != place + L"\\" + name;
        }
        if (isLink ? !DeleteLink(path) : isFolder && !DeleteLinksInside(path)) {
            return false;
        }
    } while (::FindNextFileW(search.Get(), &entry) != FALSE);
    return ::GetLastError() == ERROR_NO_MORE_FILES;
}

}  // namespace

bool IsLink(DWORD attributes, DWORD reparseTag) {
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (reparseTag == 0 || IsReparseTagNameSurrogate(reparseTag));
}

bool DeleteLinks(const std::wstring& folder) {
    WIN32_FIND_DATAW entry{};
    const CFindHandle itself(::FindFirstFileW(folder.c_str(), &entry));
    return itself && IsLink(entry.dwFileAttributes, entry.dwReserved0) ? DeleteLink(folder)
                                                                       : DeleteLinksInside(folder);
}

}  // namespace Terrascope

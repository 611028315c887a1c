#include "terrascope/support/files/Folders.h"

#include <shellapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <memory>

#include "terrascope/support/Handles.h"
#include "terrascope/support/files/FolderLinks.h"
#include "terrascope/support/files/Paths.h"
#include "terrascope/support/text/MultibyteText.h"
#include "terrascope/support/text/TextConvert.h"

namespace Terrascope {

namespace {

/// Moves the process into a folder, and back at the end.
class InsideFolder {
public:
    explicit InsideFolder(const CString& folder) {
        const DWORD length =
            ::GetCurrentDirectoryA(static_cast<DWORD>(m_before.size()), m_before.data());
        m_bInside =
            length > 0 && length < m_before.size() && ::SetCurrentDirectoryA(folder) != FALSE;
    }
    ~InsideFolder() {
        if (m_bInside) {
            ::SetCurrentDirectoryA(m_before.data());
        }
    }
    InsideFolder(const InsideFolder&) = delete;
    InsideFolder& operator=(const InsideFolder&) = delete;

    explicit operator bool() const { return m_bInside; }

private:
    std::array<char, 1024> m_before{};
    bool m_bInside = false;
};

/// The entries of the current directory, without "." and "..".
class EntryWalk {
public:
    EntryWalk() : m_search(::FindFirstFileA("*.*", &m_entry)), m_bHas(m_search) { SkipDots(); }

    explicit operator bool() const { return m_bHas; }
    CString Name() const { return CString(m_entry.cFileName); }
    bool IsLink() const {
        return Terrascope::IsLink(m_entry.dwFileAttributes, m_entry.dwReserved0);
    }
    bool IsFolder() const { return (m_entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    void Next() {
        m_bHas = ::FindNextFileA(m_search.Get(), &m_entry) != FALSE;
        SkipDots();
    }

private:
    void SkipDots() {
        while (m_bHas && (Name() == "." || Name() == "..")) {
            m_bHas = ::FindNextFileA(m_search.Get(), &m_entry) != FALSE;
        }
    }

    WIN32_FIND_DATAA m_entry{};
    const CFindHandle m_search;
    bool m_bHas;
};

CString CurrentFolder() {
    std::array<char, 1024> buffer{};
    ::GetCurrentDirectoryA(static_cast<DWORD>(buffer.size()), buffer.data());
    return WithoutTrailingBackslash(CString(buffer.data()));
}

bool HasExtension(const CString& name, const std::list<CString>& extensions) {
    if (extensions.empty()) {
        return true;
    }
    const std::size_t stop = ViewOf(name).rfind('.');
    if (stop == std::string_view::npos) {
        return false;
    }
    const std::string extension = FoldCase(ViewOf(name).substr(stop + 1));
    return std::any_of(extensions.begin(), extensions.end(), [&](const CString& wanted) {
        return FoldCase(ViewOf(wanted)) == extension;
    });
}

bool MakeFolder(const CString& path) {
    return IsDirectory(path) || ::CreateDirectoryA(path, nullptr) != FALSE || IsDirectory(path);
}

}  // namespace

bool IsDirectory(const CString& path) {
    return ::PathFileExistsA(path) && (::GetFileAttributesA(path) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool CreateDirectories(const CString& path) {
    if (IsDirectory(path)) {
        return true;
    }
    const CString folder = WithoutTrailingBackslash(path);
    const std::string_view text = ViewOf(folder);
    std::size_t at = FindCharacter(text, '\\');
    if (at == std::string_view::npos) {
        return true;  // a bare name: left to the caller's current directory, not made
    }
    // From the second backslash on: the root is never made.
    for (at = FindCharacter(text, '\\', at + 1); at != std::string_view::npos;
         at = FindCharacter(text, '\\', at + 1)) {
        if (!MakeFolder(ToCString(text.substr(0, at)))) {
            return false;
        }
    }
    return MakeFolder(folder);
}

bool ForceDeleteFile(const CString& path) {
    const DWORD attributes = ::GetFileAttributesA(path);
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        ::SetFileAttributesA(path, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    return ::DeleteFileA(path) != FALSE;
}

bool DeleteFolder(const CString& path) {
    if (!::PathFileExistsA(path)) {
        return true;
    }
    // The shell reads a list of paths that ends with two zero bytes.
    std::array<char, MAX_PATH> source{};
    const std::string_view text = ViewOf(path);
    if (text.size() + 2 > source.size()) {
        return false;
    }
    std::copy(text.begin(), text.end(), source.begin());
    // First the links: the shell of some systems deletes what these lead to.
    if (IsDirectory(path)) {
        const std::unique_ptr<wchar_t[]> wide(StringToWide(WithoutTrailingBackslash(path)));
        if (wide == nullptr || !DeleteLinks(wide.get())) {
            return false;
        }
    }
    if (!::PathFileExistsA(path)) {
        return true;
    }
    SHFILEOPSTRUCTA operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = source.data();
    operation.fFlags = FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
    return ::SHFileOperationA(&operation) == 0;
}

void FindFiles(const CString& folder, const std::list<CString>& extensions,
               std::list<CString>& result, bool includeFolders) {
    if (!IsDirectory(folder)) {
        return;
    }
    const InsideFolder inside(folder);
    if (!inside) {
        return;
    }
    const CString base = CurrentFolder() + "\\";
    for (EntryWalk entry; entry; entry.Next()) {
        const CString path = base + entry.Name();
        if (!entry.IsFolder()) {
            if (HasExtension(entry.Name(), extensions)) {
                result.push_back(path);
            }
            continue;
        }
        if (includeFolders) {
            result.push_back(path);
        }
        // A link may lead out of the folder, or back into it for ever.
        if (!entry.IsLink()) {
            FindFiles(path, extensions, result, includeFolders);
        }
    }
}

std::list<CString> ListSubdirectories(const CString& folder) {
    std::list<CString> names;
    if (!IsDirectory(folder)) {
        return names;
    }
    const InsideFolder inside(folder);
    if (!inside) {
        return names;
    }
    for (EntryWalk entry; entry; entry.Next()) {
        // Leaves "." and ".." out, and with them every name that ends so.
        if (entry.IsFolder() && ViewOf(entry.Name()).back() != '.') {
            names.push_back(entry.Name());
        }
    }
    return names;
}

}  // namespace Terrascope

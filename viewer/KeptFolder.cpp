#include "viewer/KeptFolder.h"

#include <windows.h>
// After windows.h:
#include <shlobj.h>

#include <cwchar>

#include "viewer/MapAddress.h"
#include "viewer/ScopeEnd.h"

namespace Viewer {
namespace {

/// In the program's code page; empty when that has not all of the letters.
std::string Narrow(const wchar_t* text) {
    char narrow[MAX_PATH] = "";
    wchar_t back[MAX_PATH] = L"";
    const bool isSame =
        WideCharToMultiByte(CP_ACP, 0, text, -1, narrow, MAX_PATH, nullptr, nullptr) > 0 &&
        MultiByteToWideChar(CP_ACP, 0, narrow, -1, back, MAX_PATH) > 0 &&
        std::wcscmp(text, back) == 0;
    return isSame ? narrow : "";
}

/// Empty when the user has no such folder.
std::string OwnFolder(const std::string& address) {
    wchar_t* local = nullptr;
    const HRESULT found =
        SHGetKnownFolderPath(FOLDERID_LocalAppData, KF_FLAG_CREATE, nullptr, &local);
    const ScopeEnd freed([&local] { CoTaskMemFree(local); });
    const std::string parent = found == S_OK ? Narrow(local) : "";
    return parent.empty() ? "" : parent + "\\Terrascope\\Viewer\\" + FolderNameOf(address);
}

}  // namespace

std::string MakeKeptFolder(const std::string& address, const std::string& wanted) {
    const std::string path = wanted.empty() ? OwnFolder(address) : wanted;
    char absolute[MAX_PATH] = "";
    const DWORD length = GetFullPathNameA(path.c_str(), MAX_PATH, absolute, nullptr);
    if (path == "-" || length == 0 || length >= MAX_PATH) {
        return {};
    }
    SHCreateDirectoryExA(nullptr, absolute, nullptr);  // its codes for "it is there" vary
    const DWORD attributes = GetFileAttributesA(absolute);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0
               ? absolute
               : "";
}

}  // namespace Viewer

#include "viewer/Settings.h"

#include <shlobj.h>
#include <shlwapi.h>

namespace Viewer {
namespace {

constexpr char kMap[] = "MAP";
constexpr char kAddress[] = "ADDRESS";
constexpr char kLast[] = "LAST";

/// Empty when the user has no such folder.
CString SettingsFile() {
    char path[MAX_PATH] = "";
    if (SHGetFolderPathA(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, path) != S_OK ||
        !PathAppendA(path, "TerrascopeViewer.ini")) {
        return "";
    }
    return path;
}

CString LoadLast(const char* section) {
    char text[2048] = "";
    GetPrivateProfileStringA(section, kLast, "", text, sizeof(text), SettingsFile());
    return text;
}

void SaveLast(const char* section, const CString& text) {
    const CString path = SettingsFile();
    if (!path.IsEmpty()) {
        WritePrivateProfileStringA(section, kLast, text, path);
    }
}

}  // namespace

CString LoadLastMap() {
    return LoadLast(kMap);
}

void SaveLastMap(const CString& name) {
    SaveLast(kMap, name);
}

CString LoadLastAddress() {
    return LoadLast(kAddress);
}

void SaveLastAddress(const CString& address) {
    SaveLast(kAddress, address);
}

}  // namespace Viewer

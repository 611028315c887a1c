#include "viewer/Settings.h"

#include <shlobj.h>
#include <shlwapi.h>

namespace Viewer {
namespace {

constexpr char kSection[] = "MAP";
constexpr char kLastMap[] = "LAST";

/// Empty when the user has no such folder.
CString SettingsFile() {
    char path[MAX_PATH] = "";
    if (SHGetFolderPathA(nullptr, CSIDL_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, path) != S_OK ||
        !PathAppendA(path, "TerrascopeViewer.ini")) {
        return "";
    }
    return path;
}

}  // namespace

CString LoadLastMap() {
    char name[1024] = "";
    GetPrivateProfileStringA(kSection, kLastMap, "", name, sizeof(name), SettingsFile());
    return name;
}

void SaveLastMap(const CString& name) {
    const CString path = SettingsFile();
    if (!path.IsEmpty()) {
        WritePrivateProfileStringA(kSection, kLastMap, name, path);
    }
}

}  // namespace Viewer

#include "viewer/Settings.h"

#include <shlobj.h>
#include <shlwapi.h>

#include "terrascope/support/MemIniFile.h"

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
    return Terrascope::CMemIniFile(SettingsFile(), false).ReadString(kSection, kLastMap, "");
}

void SaveLastMap(const CString& name) {
    const CString path = SettingsFile();
    if (path.IsEmpty()) {
        return;
    }
    Terrascope::CMemIniFile file("", false);
    file.SetFileName(path);  // makes the file where there is none
    if (!file.SectionExists(kSection)) {
        file.AddSection(kSection);
    }
    file.WriteString(kSection, kLastMap, name);
    file.UpdateFile();
}

}  // namespace Viewer

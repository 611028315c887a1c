#include "plugins/common/SettingsFile.h"

#include <windows.h>

#include "plugins/common/SafePath.h"

namespace Terrascope::Plugins {

CString SettingsFile() {
    wchar_t library[MAX_PATH] = L"";
    ::GetModuleFileNameW(::GetModuleHandleW(L"Terrascope.dll"), library, MAX_PATH - 1);
    std::wstring path(library);
    path.resize(path.find_last_of(L'\\') + 1);
    path += L"Terrascope.ini";
    return ToNarrow(path).value_or("");
}

}  // namespace Terrascope::Plugins

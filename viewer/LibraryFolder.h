#pragma once

#include <afxwin.h>

namespace Viewer {

/// A file or folder beside the loaded library, by its name there: "log", "Terrascope.ini".
CString BesideLibrary(const char* name);

}  // namespace Viewer

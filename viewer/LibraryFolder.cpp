#include "viewer/LibraryFolder.h"

namespace Viewer {

CString BesideLibrary(const char* name) {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(GetModuleHandleA("Terrascope.dll"), path, MAX_PATH - 1);
    const CString library = path;
    return library.Left(library.ReverseFind('\\') + 1) + name;
}

}  // namespace Viewer

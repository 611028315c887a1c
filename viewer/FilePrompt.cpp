#include "viewer/FilePrompt.h"

#include <commdlg.h>

namespace Viewer {

std::string AskForMapFile(CWnd& owner) {
    char path[1024] = "";
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = sizeof(dialog);
    dialog.hwndOwner = owner.GetSafeHwnd();
    dialog.lpstrFilter =
        "Maps\0*.mbtiles;*.gpkg;*.pmtiles;map.ini;tilemapresource.xml\0All files\0*.*\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = sizeof(path);
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return ::GetOpenFileNameA(&dialog) ? path : "";
}

}  // namespace Viewer

#include "viewer/Console.h"

#include <afxwin.h>

#include <string>

namespace Viewer {
namespace {

bool IsUsable(HANDLE handle) {
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

/// The stream's handle. It belongs to the process and is not closed.
HANDLE Stream(DWORD id) {
    HANDLE handle = GetStdHandle(id);
    if (!IsUsable(handle) && AttachConsole(ATTACH_PARENT_PROCESS)) {
        handle = GetStdHandle(id);
    }
    return handle;
}

void Write(DWORD id, std::string_view text) {
    const HANDLE handle = Stream(id);
    while (IsUsable(handle) && !text.empty()) {
        DWORD written = 0;
        if (!WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
            written == 0) {
            return;
        }
        text.remove_prefix(written);
    }
}

}  // namespace

void Print(std::string_view text) {
    Write(STD_OUTPUT_HANDLE, text);
}

void PrintError(std::string_view text) {
    Write(STD_ERROR_HANDLE, "TerrascopeViewer: " + std::string(text) + "\n");
}

}  // namespace Viewer

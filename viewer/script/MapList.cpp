#include "viewer/script/MapList.h"

#include <afxwin.h>
#include <commctrl.h>

#include "terrascope/api/MapAssistant.h"
#include "viewer/ScopeEnd.h"

namespace Viewer {
namespace {

constexpr int kMapListId = 7002;  ///< the dialog's list; column 1 is the map's name
constexpr int kNameColumn = 1;
constexpr UINT kPollMs = 10;

std::vector<std::string>* g_names = nullptr;

LRESULT CALLBACK MoveDialogAway(int code, WPARAM window, LPARAM create) {
    if (code == HCBT_CREATEWND) {
        CREATESTRUCTA& wanted = *reinterpret_cast<CBT_CREATEWNDA*>(create)->lpcs;
        if ((wanted.style & WS_CHILD) == 0) {
            wanted.x = -30000;
            wanted.y = -30000;
        }
    }
    return CallNextHookEx(nullptr, code, window, create);
}

BOOL CALLBACK ReadDialog(HWND window, LPARAM) {
    const HWND list = GetDlgItem(window, kMapListId);
    if (list == nullptr || !IsWindowVisible(window)) {
        return TRUE;
    }
    const int count = ListView_GetItemCount(list);
    for (int row = 0; row < count; ++row) {
        char name[1024] = "";
        LVITEMA item = {};
        item.iSubItem = kNameColumn;
        item.pszText = name;
        item.cchTextMax = sizeof(name);
        SendMessageA(list, LVM_GETITEMTEXTA, static_cast<WPARAM>(row),
                     reinterpret_cast<LPARAM>(&item));
        g_names->push_back(name);
    }
    PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
    return FALSE;
}

void CALLBACK LookForDialog(HWND, UINT, UINT_PTR timer, DWORD) {
    if (g_names != nullptr && !EnumThreadWindows(GetCurrentThreadId(), ReadDialog, 0)) {
        KillTimer(nullptr, timer);
    }
}

}  // namespace

std::vector<std::string> ReadMapNames() {
    std::vector<std::string> names;
    g_names = &names;
    const HHOOK hook = SetWindowsHookExA(WH_CBT, MoveDialogAway, nullptr, GetCurrentThreadId());
    const UINT_PTR timer = SetTimer(nullptr, 0, kPollMs, LookForDialog);
    const ScopeEnd read([=] {
        KillTimer(nullptr, timer);
        UnhookWindowsHookEx(hook);
        g_names = nullptr;
    });
    CString map;
    int layer = 0;
    double scale = 1.0;
    Terrascope::CMapAssistant::SelectMap(map, layer, scale);
    return names;
}

}  // namespace Viewer

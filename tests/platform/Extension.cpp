// An extension DLL as the framework's users write it, with a log of its own.
#include <afxdllx.h>

#include "platform/lumilog/Lumilog.h"

static AFX_EXTENSION_MODULE extension;

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        if (!AfxInitExtensionModule(extension, instance)) {
            return FALSE;
        }
        new CDynLinkLibrary(extension);
        Lumilog::RegisterByModule({"Extension", "no such folder"});
        Lumilog::_dout("Extension", "loaded");
    } else if (reason == DLL_PROCESS_DETACH) {
        Lumilog::UnRegister("Extension");
        AfxTermExtensionModule(extension);
    }
    return TRUE;
}

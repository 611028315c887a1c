// An extension DLL as the framework's users write it.
#include <afxdllx.h>

static AFX_EXTENSION_MODULE extension;

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        if (!AfxInitExtensionModule(extension, instance)) {
            return FALSE;
        }
        new CDynLinkLibrary(extension);
    } else if (reason == DLL_PROCESS_DETACH) {
        AfxTermExtensionModule(extension);
    }
    return TRUE;
}

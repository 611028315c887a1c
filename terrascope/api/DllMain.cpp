// The library's load and unload sequence.
#include <afxdllx.h>
#include <afxwin.h>

#include "terrascope/api/ModuleLog.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/ui/LanguageManager.h"
#include "terrascope/tiles/ImageDecoders.h"

namespace {
AFX_EXTENSION_MODULE extensionModule = {};
}

// Under the loader lock: no thread is started or joined here, and GDI+ is not touched.
extern "C" int APIENTRY DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    using namespace Terrascope;
    if (reason == DLL_PROCESS_ATTACH) {
        KeepEarlyLogLines();
        AfxInitRichEdit2();
        if (!AfxInitExtensionModule(extensionModule, instance)) {
            return 0;
        }
        new CDynLinkLibrary(extensionModule);  // owned by the framework's list of modules
        CTileMapInfoProviderPluginKernel::GetInstance().LoadPlugins("Terrascope.dll");
    } else if (reason == DLL_PROCESS_DETACH) {
        CLanguageManager::ReleaseInstance();
        CTileMapInfoProviderPluginKernel::ReleaseInstance();
        CImageDecoders::ReleaseInstalled();
        ShutDownModuleLog();
        AfxTermExtensionModule(extensionModule);
    }
    return 1;
}

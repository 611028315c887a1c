#include "plugins/common/PluginLog.h"
#include "plugins/common/ProviderFactory.h"
#include "plugins/db/DBTileMapInfoProvider.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"

using Terrascope::Plugins::CDBTileMapInfoProvider;
using Terrascope::Plugins::ProviderFactory;

extern "C" {

__declspec(dllexport) std::int32_t getEngineVersion() {
    return 1;
}

__declspec(dllexport) void registerPlugin(Terrascope::CTileMapInfoProviderPluginKernel* kernel) {
    Terrascope::Plugins::BeginPluginLog(CDBTileMapInfoProvider::kName);
    kernel->RegisterFactory(
        new ProviderFactory<CDBTileMapInfoProvider>(CDBTileMapInfoProvider::kName));
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        Terrascope::Plugins::EndPluginLog();
    }
    return TRUE;
}
}

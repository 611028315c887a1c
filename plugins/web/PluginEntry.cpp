#include "plugins/common/PluginLog.h"
#include "plugins/common/ProviderFactory.h"
#include "plugins/common/WithoutThrowing.h"
#include "plugins/web/WebTileMapInfoProvider.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"

using Terrascope::Plugins::CWebTileMapInfoProvider;
using Terrascope::Plugins::ProviderFactory;

extern "C" {

__declspec(dllexport) std::int32_t getEngineVersion() {
    return 1;
}

__declspec(dllexport) void registerPlugin(Terrascope::CTileMapInfoProviderPluginKernel* kernel) {
    Terrascope::Plugins::BeginPluginLog(CWebTileMapInfoProvider::kName);
    kernel->RegisterFactory(
        new ProviderFactory<CWebTileMapInfoProvider>(CWebTileMapInfoProvider::kName));
}

__declspec(dllexport) void cancelLoads(Terrascope::ITileMapInfoProvider* provider) {
    if (auto* web = dynamic_cast<CWebTileMapInfoProvider*>(provider); web != nullptr) {
        web->Cancel();
    }
}

__declspec(dllexport) int serverState(char* text, int size) {
    return Terrascope::Plugins::WithoutThrowing<int>(CWebTileMapInfoProvider::kName, [&] {
        return HandOver(Terrascope::Plugins::HttpFetcher::OfProcess().State(), text, size);
    });
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        Terrascope::Plugins::EndPluginLog();
    }
    return TRUE;
}
}

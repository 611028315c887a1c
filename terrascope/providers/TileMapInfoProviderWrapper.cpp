#include "terrascope/providers/TileMapInfoProviderWrapper.h"

#include "terrascope/providers/FailureOf.h"
#include "terrascope/providers/LoadCancelling.h"
#include "terrascope/providers/ProviderSelection.h"
#include "terrascope/providers/TileMapInfoProviderPluginKernel.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {
namespace {

/// The provider's answer, or an empty one when there is no provider or it throws: providers must
/// not, but their exceptions would end in window procedures and thread routines.
template <class TAnswer, class TQuestion>
TAnswer Ask(ITileMapInfoProvider* provider, TQuestion question) {
    TAnswer answer{};
    if (provider != nullptr) {
        if (const auto failure = FailureOf([&] { answer = question(*provider); })) {
            LogLine("the provider failed: %s", failure->c_str());
        }
    }
    return answer;
}

}  // namespace

CTileMapInfoProviderWrapper::~CTileMapInfoProviderWrapper() = default;

bool CTileMapInfoProviderWrapper::UpdateMapLib(bool flag) {
    return Ask<bool>(m_provider.get(),
                     [&](ITileMapInfoProvider& provider) { return provider.UpdateMapLib(flag); });
}

std::list<tagTILE_MAP_INFO*> CTileMapInfoProviderWrapper::GetMapList() {
    return Ask<std::list<tagTILE_MAP_INFO*>>(
        m_provider.get(), [](ITileMapInfoProvider& provider) { return provider.GetMapList(); });
}

tagTILE_MAP_INFO* CTileMapInfoProviderWrapper::GetMapInfo(const CString& mapName) {
    return Ask<tagTILE_MAP_INFO*>(m_provider.get(), [&](ITileMapInfoProvider& provider) {
        return provider.GetMapInfo(mapName);
    });
}

std::list<tagTILE_MAP_LAYER_INFO*> CTileMapInfoProviderWrapper::GetLayerList(
    const CString& mapName) {
    return Ask<std::list<tagTILE_MAP_LAYER_INFO*>>(
        m_provider.get(),
        [&](ITileMapInfoProvider& provider) { return provider.GetLayerList(mapName); });
}

tagTILE_MAP_LAYER_INFO* CTileMapInfoProviderWrapper::GetLayerInfo(const CString& mapName,
                                                                  int layerNumber) {
    tagTILE_MAP_LAYER_INFO* layer =
        Ask<tagTILE_MAP_LAYER_INFO*>(m_provider.get(), [&](ITileMapInfoProvider& provider) {
            return provider.GetLayerInfo(mapName, layerNumber);
        });
    if (layer != nullptr && layerNumber == m_nFirstLayer &&
        mapName.CompareNoCase(m_strMapName) == 0) {
        layer->dZoomFactor = m_dFirstLayerScale;
    }
    return layer;
}

std::list<tagTILE_IMAGE*> CTileMapInfoProviderWrapper::LoadTiles(
    const CString& mapName, int layerNumber, const std::list<CString>& tileKeys) {
    return Ask<std::list<tagTILE_IMAGE*>>(m_provider.get(), [&](ITileMapInfoProvider& provider) {
        return provider.LoadTiles(mapName, layerNumber, tileKeys);
    });
}

bool CTileMapInfoProviderWrapper::Reserved13() {
    return Ask<bool>(m_provider.get(),
                     [](ITileMapInfoProvider& provider) { return provider.Reserved13(); });
}

bool CTileMapInfoProviderWrapper::Reserved14() {
    return Ask<bool>(m_provider.get(),
                     [](ITileMapInfoProvider& provider) { return provider.Reserved14(); });
}

bool CTileMapInfoProviderWrapper::Reserved15() {
    return Ask<bool>(m_provider.get(),
                     [](ITileMapInfoProvider& provider) { return provider.Reserved15(); });
}

bool CTileMapInfoProviderWrapper::Reserved16() {
    return Ask<bool>(m_provider.get(),
                     [](ITileMapInfoProvider& provider) { return provider.Reserved16(); });
}

bool CTileMapInfoProviderWrapper::SelectProvider() {
    ASSERT(m_provider == nullptr);
    m_provider = CreateConfiguredProvider(m_identity);
    return m_provider != nullptr;
}

void CTileMapInfoProviderWrapper::CancelLoads() {
    if (m_provider != nullptr) {
        Terrascope::CancelLoads(*m_provider);
    }
}

void CTileMapInfoProviderWrapper::SetCurrentMap(const CString& mapName, int firstLayer,
                                                double firstLayerScale) {
    m_strMapName = mapName;
    m_nFirstLayer = firstLayer;
    m_dFirstLayerScale = firstLayerScale;
}

ITileMapInfoProvider* CTileMapInfoProviderWrapper::Detach() {
    CTileMapInfoProviderPluginKernel::GetInstance().PinPlugins();
    return m_provider.release();
}

}  // namespace Terrascope

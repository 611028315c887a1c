// The switch to the next finer or coarser layer.
#include <stdexcept>

#include "terrascope/display/Terrascope2.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {

int CTerrascope2::ZoomAt(CPointF point, MapToolKind tool) {
    if (m_switch.IsBusy()) {
        return 0;
    }
    if (tool != MapToolKind::ZoomIn && tool != MapToolKind::ZoomOut) {
        return 1;
    }
    const bool zoomIn = tool == MapToolKind::ZoomIn;
    const auto [first, last] = GetLayerRange();
    const int layer = m_layer.nLayerNumber;
    if (zoomIn ? layer >= last : layer <= first) {
        return 0;
    }

    const SwitchMode mode = zoomIn ? SwitchMode::ZoomIn : SwitchMode::ZoomOut;
    const int nextNumber = zoomIn ? layer + 1 : layer - 1;
    // The provider is asked before any lock is taken: nobody is called under one.
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> next(
        m_provider.GetLayerInfo(m_map.strName, nextNumber));
    BeginLayerSwitch(mode, next.get());
    StoreCenter(point);
    // Without the new layer the old one stays, and with it what its tiles have asked for.
    if (next != nullptr) {
        PrepareTiles(mode, *next);
        SetCurrentLayer(CTileLayer2(m_map, *next));
        m_queue->Clear();
    } else {
        LogLine("map '%s' has no layer %d", m_map.strName.GetString(), nextNumber);
    }
    SetCenter(Center());
    return 1;
}

void CTerrascope2::BeginLayerSwitch(SwitchMode mode, const tagTILE_MAP_LAYER_INFO* next) {
    RenderWhatIsDue();
    m_switch.Begin(mode, next != nullptr ? next->dZoomFactor : 1.0, m_layer.dZoomFactor,
                   m_picture.Take(View()));
    m_switch.Start();
}

void CTerrascope2::PrepareTiles(SwitchMode mode, const tagTILE_MAP_LAYER_INFO& next) {
    const CTileLayer2 layer(m_map, next);
    const Viewport view = View();
    CSingleLock lock(&m_tiles.Lock(), TRUE);
    m_tiles.ClearPrepared();
    if (mode == SwitchMode::ZoomOut) {
        m_tiles.PrepareCoarser(m_map, m_layer, layer, m_queue.get());
        return;
    }
    try {
        m_tiles.PrepareFiner(m_layer, TileRangeOf(view, RegionAround(view, kVisibleRegionFactor)),
                             layer);
    } catch (const std::logic_error& e) {
        // A provider whose layer numbers contradict its layer count.
        LogLine("map '%s', layer %d: %s", m_map.strName.GetString(), m_layer.nLayerNumber,
                e.what());
    }
}

bool CTerrascope2::Step() {
    return Tool() != nullptr && m_switch.Step();
}

}  // namespace Terrascope

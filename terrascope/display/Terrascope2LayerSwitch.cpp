// The animated switch to the next finer or coarser layer.
#include <array>
#include <cmath>
#include <set>

#include "terrascope/display/Terrascope2.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope {

namespace {

constexpr int kStepsPerFactor = 5;

/// One step from `current` towards `target`. The sum of five fifths falls short of 1 by rounding;
/// that must not cost a sixth step.
double StepTowards(double current, double target, double step) {
    constexpr double kRounding = 1e-9;
    return std::fabs(target - current) <= step + kRounding
               ? target
               : current + (target > current ? step : -step);
}

/// What the old picture is scaled to. A factor that no provider can mean is 1, which ends the
/// switch at its first step: it might never be reached.
double TargetFactor(double next, double current) {
    constexpr double kLargest = 64.0;
    const double factor = next / current;
    return factor >= 1 / kLargest && factor <= kLargest ? factor : 1.0;
}

}  // namespace

int CTerrascope2::ZoomAt(CPointF point) {
    if (m_switch.switching || (m_switchThread && !m_switchThread->IsFinished()))
        return 0;

    const int kind = Tool() ? Tool()->GetToolType() : static_cast<int>(MapToolKind::Arrow);
    const auto [first, last] = GetLayerRange();
    const int layer = m_layer.nLayerNumber;
    const bool zoomIn = kind == static_cast<int>(MapToolKind::ZoomIn);
    if (!zoomIn && kind != static_cast<int>(MapToolKind::ZoomOut))
        return 1;
    if (zoomIn ? layer >= last : layer <= first)
        return 0;

    BeginLayerSwitch();
    StoreCenter(point);
    if (zoomIn)
        PrepareFinerTiles();
    else
        PrepareCoarserTiles();
    // Without the new layer the old one stays, and with it what its tiles have asked for.
    if (LoadLayer(zoomIn ? layer + 1 : layer - 1))
        m_queue->Clear();
    SetCenter(Center());
    return 1;
}

void CTerrascope2::BeginLayerSwitch() {
    m_switch.switching = true;
    const bool zoomIn = Tool()->GetToolType() == static_cast<int>(MapToolKind::ZoomIn);
    const int next = m_layer.nLayerNumber + (zoomIn ? 1 : -1);
    // The provider is asked before the locks are taken: nobody is called under them.
    const double target =
        TargetFactor(ZoomFactorOf(next) * (zoomIn ? 2.0 : 0.5), m_layer.dZoomFactor);
    {
        CSingleLock bitmapLock(&m_bitmapLock);
        CSingleLock switchLock(&m_switch.lock);
        if (!bitmapLock.Lock() || !switchLock.Lock()) {
            m_switch.switching = false;
            return;
        }
        m_switch.mode = zoomIn ? SwitchMode::ZoomIn : SwitchMode::ZoomOut;
        m_switch.painted = true;
        m_switch.oldLayer = m_layer;
        m_switch.oldBitmapOrigin = m_bitmapOrigin;
        m_switch.oldCenter = Center();
        m_switch.targetFactor = target;
        m_switch.oldBitmap = std::move(m_bitmap);
    }
    m_switchThread = std::make_unique<CLayerSwitchThread>(this);
    m_switchThread->Start();
    if (m_switchThread->IsFinished()) {
        // The system had no thread to give: nothing would ever end the switch.
        CSingleLock lock(&m_switch.lock, TRUE);
        FinishSwitchLocked();
    }
}

double CTerrascope2::ZoomFactorOf(int layerNumber) {
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> info(
        m_provider.GetLayerInfo(m_map.strName, layerNumber));
    return info ? info->dZoomFactor : 1.0;
}

// Each visible tile gives its four quarters, so that the new layer shows something from the first
// frame on.
void CTerrascope2::PrepareFinerTiles() {
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> info(
        m_provider.GetLayerInfo(m_map.strName, m_layer.nLayerNumber + 1));
    CSingleLock lock(&m_tileLock);
    if (!lock.Lock())
        return;
    m_zoomInTiles.clear();
    if (!info)
        return;

    const CTileLayer2 finer(m_map, *info);
    const Viewport view = View();
    const TileRange range = TileRangeOf(view, RegionAround(view, kVisibleRegionFactor));
    for (int column = range.firstColumn; column < range.EndColumn(); ++column) {
        for (int row = range.firstRow; row < range.EndRow(); ++row) {
            const auto found = m_tiles.find(KeyOf(column, row, m_layer.nLayerNumber));
            if (found == m_tiles.end())
                continue;
            try {
                for (CTile2* child : found->second->Split(finer))
                    m_zoomInTiles[child->Key()].reset(child);
            } catch (const std::logic_error& e) {
                // A provider whose layer numbers contradict its layer count.
                LogLine("map '%s', layer %d: %s", m_map.strName.GetString(), m_layer.nLayerNumber,
                        e.what());
                return;
            }
        }
    }
}

// Each parent of a tile is merged from its four children; children that are missing are grey.
void CTerrascope2::PrepareCoarserTiles() {
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> info(
        m_provider.GetLayerInfo(m_map.strName, m_layer.nLayerNumber - 1));
    CSingleLock lock(&m_tileLock);
    if (!lock.Lock())
        return;
    m_zoomOutTiles.clear();
    if (!info)
        return;

    const CTileLayer2 coarser(m_map, *info);
    std::set<CString> parents;
    for (const auto& [key, tile] : m_tiles)
        parents.insert(key.Left(key.GetLength() - 1));
    for (const CString& parent : parents) {
        std::array<std::unique_ptr<CTile2>, 4> missing;
        std::array<const CTile2*, 4> children{};
        for (std::size_t quadrant = 0; quadrant < children.size(); ++quadrant) {
            CString key;
            key.Format("%s%d", parent.GetString(), static_cast<int>(quadrant));
            const auto found = m_tiles.find(key);
            if (found == m_tiles.end())
                missing[quadrant] = std::make_unique<CTile2>(m_map, m_layer, key, m_queue.get());
            children[quadrant] =
                found == m_tiles.end() ? missing[quadrant].get() : found->second.get();
        }
        m_zoomOutTiles[parent] = std::make_unique<CTile2>(*children[0], *children[1], *children[2],
                                                          *children[3], coarser);
    }
}

bool CTerrascope2::Step() {
    if (!Tool())
        return false;
    if (!m_switch.switching) {
        CSingleLock lock(&m_switch.lock, TRUE);
        m_switch.oldBitmap.reset();
        return false;
    }
    if (!m_switch.painted)
        return true;

    CSingleLock lock(&m_switch.lock);
    if (!lock.Lock())
        return true;
    double& current = m_switch.currentFactor;
    const double target = m_switch.targetFactor;
    if (m_switch.mode == SwitchMode::ZoomIn && current < target)
        current = StepTowards(current, target, 1.0 / kStepsPerFactor);
    else if (m_switch.mode == SwitchMode::ZoomOut && target < current)
        current = StepTowards(current, target, 0.5 / kStepsPerFactor);
    else
        FinishSwitchLocked();

    if (m_window) {
        const CSize size = View().size;
        PostRepaint({0, 0, size.cx, size.cy}, true);
        m_switch.painted = false;
    }
    return true;
}

void CTerrascope2::FinishSwitchLocked() {
    m_switch.currentFactor = 1.0;
    m_switch.switching = false;
    if (m_window)
        m_switch.oldBitmap.reset();
}

}  // namespace Terrascope

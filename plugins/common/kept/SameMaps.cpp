#include "plugins/common/kept/SameMaps.h"

#include <cmath>

namespace Terrascope::Plugins {
namespace {

bool HasSameExtent(const tagTILE_MAP_INFO& a, const tagTILE_MAP_INFO& b) {
    constexpr double kRounding = 1e-6;  // of the span; other corners are a tile away
    const double width = a.dLongitude * kRounding;
    const double height = a.dLatitude * kRounding;
    return std::abs(a.dLongitudeStart - b.dLongitudeStart) <= width &&
           std::abs(a.dLongitude - b.dLongitude) <= width &&
           std::abs(a.dLatitudeStart - b.dLatitudeStart) <= height &&
           std::abs(a.dLatitude - b.dLatitude) <= height;
}

}  // namespace

bool CSameMaps::IsSame(const tagTILE_MAP_INFO& map, const tagTILE_MAP_LAYER_INFO& layer,
                       const AskInfo& askInfo, const AskLayer& askLayer) {
    const std::pair<std::string, int> place(map.strName.GetString(), layer.nLayerNumber);
    std::uint64_t forgotten = 0;
    {
        CSingleLock lock(&m_lock, TRUE);
        const auto known = m_isSame.find(place);
        if (known != m_isSame.end()) {
            return known->second;
        }
        forgotten = m_forgotten;
    }
    const std::unique_ptr<tagTILE_MAP_INFO> other = askInfo();
    if (other == nullptr) {
        return false;
    }
    const std::unique_ptr<tagTILE_MAP_LAYER_INFO> otherLayer = askLayer();
    const bool isSame = otherLayer != nullptr && HasSameExtent(map, *other) &&
                        otherLayer->nTileCountX == layer.nTileCountX &&
                        otherLayer->nTileCountY == layer.nTileCountY;
    CSingleLock lock(&m_lock, TRUE);
    if (forgotten == m_forgotten) {
        m_isSame[place] = isSame;
    }
    return isSame;
}

void CSameMaps::Forget() {
    CSingleLock lock(&m_lock, TRUE);
    m_isSame.clear();
    ++m_forgotten;
}

}  // namespace Terrascope::Plugins

#include "terrascope/display/TileSet.h"

#include <array>
#include <cstdint>
#include <set>
#include <utility>

#include "terrascope/tiles/TileKey.h"

namespace Terrascope {

namespace {

CString KeyOf(int column, int row, int layerNumber) {
    return MakeTileKey(static_cast<std::uint32_t>(column), static_cast<std::uint32_t>(row),
                       layerNumber);
}

}  // namespace

CTile2* CTileSet::Find(const CString& key) const {
    const auto found = m_tiles.find(key);
    return found != m_tiles.end() ? found->second.get() : nullptr;
}

void CTileSet::Refresh(const tagTILE_MAP_INFO& map, const CTileLayer2& layer,
                       const TileRange& range, CTileLoadQueue2* queue) {
    m_tiles.merge(m_zoomInTiles);
    m_tiles.merge(m_zoomOutTiles);
    ClearPrepared();

    TileMap wanted;
    for (int column = range.firstColumn; column < range.EndColumn(); ++column) {
        for (int row = range.firstRow; row < range.EndRow(); ++row) {
            const CString key = KeyOf(column, row, layer.nLayerNumber);
            if (key.IsEmpty()) {
                continue;
            }
            auto kept = m_tiles.extract(key);
            CTile2& tile =
                kept ? *wanted.insert(std::move(kept)).position->second
                     : *wanted.emplace(key, std::make_unique<CTile2>(map, layer, key, queue))
                            .first->second;
            m_shelf.Restore(tile);
        }
    }
    Clear();
    m_tiles = std::move(wanted);
}

void CTileSet::Clear() {
    for (const auto& [key, tile] : m_tiles) {
        m_shelf.Keep(*tile);
    }
    m_tiles.clear();
}

void CTileSet::VisitAll(const std::function<void(CTile2&)>& visit) const {
    for (const auto& [key, tile] : m_tiles) {
        visit(*tile);
    }
}

void CTileSet::VisitBackwards(const TileRange& range, int layerNumber,
                              const std::function<void(CTile2&)>& visit) const {
    for (int column = range.EndColumn() - 1; column >= range.firstColumn; --column) {
        for (int row = range.EndRow() - 1; row >= range.firstRow; --row) {
            if (CTile2* tile = Find(KeyOf(column, row, layerNumber))) {
                visit(*tile);
            }
        }
    }
}

void CTileSet::PrepareFiner(const CTileLayer2& layer, const TileRange& range,
                            const CTileLayer2& finer) {
    for (int column = range.firstColumn; column < range.EndColumn(); ++column) {
        for (int row = range.firstRow; row < range.EndRow(); ++row) {
            const CTile2* tile = Find(KeyOf(column, row, layer.nLayerNumber));
            if (tile == nullptr) {
                continue;
            }
            for (CTile2* child : tile->Split(finer)) {
                m_zoomInTiles[child->Key()].reset(child);
            }
        }
    }
}

void CTileSet::PrepareCoarser(const tagTILE_MAP_INFO& map, const CTileLayer2& layer,
                              const CTileLayer2& coarser, CTileLoadQueue2* queue) {
    std::set<CString> parents;
    for (const auto& [key, tile] : m_tiles) {
        parents.insert(key.Left(key.GetLength() - 1));
    }
    for (const CString& parent : parents) {
        std::array<std::unique_ptr<CTile2>, 4> missing;
        std::array<const CTile2*, 4> children{};
        for (std::size_t quadrant = 0; quadrant < children.size(); ++quadrant) {
            CString key;
            key.Format("%s%d", parent.GetString(), static_cast<int>(quadrant));
            children[quadrant] = Find(key);
            if (children[quadrant] == nullptr) {
                missing[quadrant] = std::make_unique<CTile2>(map, layer, key, queue);
                children[quadrant] = missing[quadrant].get();
            }
        }
        m_zoomOutTiles[parent] = std::make_unique<CTile2>(*children[0], *children[1], *children[2],
                                                          *children[3], coarser);
    }
}

void CTileSet::ClearPrepared() {
    m_zoomInTiles.clear();
    m_zoomOutTiles.clear();
}

}  // namespace Terrascope

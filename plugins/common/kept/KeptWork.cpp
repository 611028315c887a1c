#include "plugins/common/kept/KeptWork.h"

namespace Terrascope::Plugins {
namespace {

std::size_t BytesOf(const KeptChange& change) {
    return change.bytes != nullptr ? change.bytes->size() : 0;
}

}  // namespace

KeptMapWork& CKeptWork::Of(const std::shared_ptr<const KeptMap>& map) {
    KeptMapWork& work = m_maps[map->Key()];
    if (work.map != nullptr && work.map->GridText() != map->GridText()) {
        DropTiles(work);  // their places were those of another grid
    }
    work.map = map;
    return work;
}

void CKeptWork::DropTiles(KeptMapWork& work) {
    for (const auto& [place, change] : work.tiles) {
        m_bytes -= BytesOf(change);
    }
    work.tiles.clear();
}

void CKeptWork::Add(const std::shared_ptr<const KeptMap>& map, const KeptPlace& place,
                    KeptChange change) {
    auto [entry, isNew] = Of(map).tiles.try_emplace(place);
    KeptChange& former = entry->second;
    if (!isNew && change.kind == KeptChange::Touch) {
        return;  // what waits uses it too
    }
    if (!isNew && change.kind == KeptChange::Refresh && former.kind == KeptChange::Drop) {
        return;  // there is nothing left that could be fresh
    }
    if (!isNew && change.kind == KeptChange::Refresh && former.kind == KeptChange::Keep) {
        former.freshness = std::move(change.freshness);
        return;
    }
    m_bytes += BytesOf(change);
    m_bytes -= BytesOf(former);
    former = std::move(change);
}

void CKeptWork::DropAll(const std::shared_ptr<const KeptMap>& map) {
    KeptMapWork& work = Of(map);
    DropTiles(work);
    work.dropsAll = true;
}

void CKeptWork::PutBackDrop(const std::shared_ptr<const KeptMap>& map) {
    KeptMapWork& work = m_maps[map->Key()];
    work.map = work.map != nullptr ? work.map : map;
    work.dropsAll = true;
}

const KeptMapWork* CKeptWork::Find(const KeptMap& map) const {
    const auto work = m_maps.find(map.Key());
    return work != m_maps.end() && work->second.map->GridText() == map.GridText() ? &work->second
                                                                                  : nullptr;
}

std::size_t CKeptWork::Tiles() const {
    std::size_t count = 0;
    for (const auto& [key, work] : m_maps) {
        count += work.tiles.size();
    }
    return count;
}

}  // namespace Terrascope::Plugins

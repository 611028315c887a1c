#include "terrascope/tiles/PictureCache.h"

#include <iterator>
#include <mutex>
#include <utility>

namespace Terrascope {

namespace {

std::mutex theLock;                     // of the next line
std::weak_ptr<CPictureCache> theCache;  // the one that displays hold now

}  // namespace

CPictureCache::CHold::CHold(std::size_t bytes) : m_bytes(bytes) {
    if (bytes == 0) {
        return;
    }
    const std::lock_guard guard(theLock);
    m_cache = theCache.lock();
    if (m_cache == nullptr) {
        m_cache = std::make_shared<CPictureCache>();
        theCache = m_cache;
    }
    CSingleLock lock(&m_cache->m_lock, TRUE);
    m_cache->m_allowances.insert(bytes);
}

CPictureCache::CHold::~CHold() {
    if (m_cache != nullptr) {
        Entries freed;
        CSingleLock lock(&m_cache->m_lock, TRUE);
        m_cache->m_allowances.erase(m_cache->m_allowances.find(m_bytes));
        m_cache->TrimLocked(freed);
    }
}

void CPictureCache::ForgetAll() {
    std::shared_ptr<CPictureCache> cache;
    {
        const std::lock_guard guard(theLock);
        cache = theCache.lock();
    }
    if (cache != nullptr) {
        Entries freed;
        CSingleLock lock(&cache->m_lock, TRUE);
        ++cache->m_generation;
        cache->m_byName.clear();
        cache->m_bytes = 0;
        freed.swap(cache->m_entries);
    }
}

unsigned CPictureCache::Generation() const {
    CSingleLock lock(&m_lock, TRUE);
    return m_generation;
}

void CPictureCache::Put(const std::string& name, CachedTile tile) {
    ASSERT(tile.picture != nullptr);
    Entries freed;
    Entries added;
    added.push_front({name, std::move(tile)});
    CSingleLock lock(&m_lock, TRUE);
    if (const auto found = m_byName.find(name); found != m_byName.end()) {
        m_bytes -= BytesOf(found->second->tile);
        freed.splice(freed.begin(), m_entries, found->second);
        m_byName.erase(found);
    }
    m_byName.emplace(name, added.begin());  // from here on nothing throws
    m_bytes += BytesOf(added.front().tile);
    m_entries.splice(m_entries.begin(), added);
    TrimLocked(freed);
}

CachedTile CPictureCache::Take(const std::string& name) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_byName.find(name);
    if (found == m_byName.end()) {
        return {};
    }
    CachedTile tile = std::move(found->second->tile);
    m_bytes -= BytesOf(tile);
    m_entries.erase(found->second);
    m_byName.erase(found);
    return tile;
}

std::size_t CPictureCache::Bytes() const {
    CSingleLock lock(&m_lock, TRUE);
    return m_bytes;
}

std::size_t CPictureCache::BytesOf(const CachedTile& tile) {
    return tile.picture->PixelCount() * sizeof(std::uint32_t);
}

void CPictureCache::TrimLocked(Entries& freed) {
    const std::size_t most = m_allowances.empty() ? 0 : *m_allowances.rbegin();
    while (m_bytes > most) {
        m_bytes -= BytesOf(m_entries.back().tile);
        m_byName.erase(m_entries.back().name);
        freed.splice(freed.begin(), m_entries, std::prev(m_entries.end()));
    }
}

}  // namespace Terrascope

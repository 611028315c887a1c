#include "plugins/db/PmtilesDirectoryCache.h"

namespace Terrascope::Plugins {

std::shared_ptr<const PmtilesDirectory> CPmtilesDirectoryCache::Find(std::uint64_t offset) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_places.find(offset);
    if (found == m_places.end()) {
        return nullptr;
    }
    m_kept.splice(m_kept.begin(), m_kept, found->second);
    return m_kept.front().directory;
}

void CPmtilesDirectoryCache::Keep(std::uint64_t offset,
                                  const std::shared_ptr<const PmtilesDirectory>& directory) {
    CSingleLock lock(&m_lock, TRUE);
    if (m_places.contains(offset)) {
        return;  // read by two at once
    }
    m_kept.push_front({offset, directory});
    m_places.emplace(offset, m_kept.begin());
    m_size += SizeOf(*directory);
    while (m_size > m_limit) {
        m_size -= SizeOf(*m_kept.back().directory);
        m_places.erase(m_kept.back().offset);
        m_kept.pop_back();
    }
}

std::size_t CPmtilesDirectoryCache::Size() {
    CSingleLock lock(&m_lock, TRUE);
    return m_size;
}

}  // namespace Terrascope::Plugins

#include "plugins/split_file/LibraryCache.h"

#include <algorithm>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMostLibraries = 4;

}  // namespace

CLibraryCache& CLibraryCache::OfProcess() {
    static CLibraryCache cache;
    return cache;
}

std::shared_ptr<const MapLibrary> CLibraryCache::Read(const std::wstring& folder) {
    const std::shared_ptr<const LibraryReading> former = Find(folder);
    std::shared_ptr<const LibraryReading> reading = ReadMapLibrary(folder, former.get());
    Keep(folder, reading);
    return reading != nullptr ? reading->library : nullptr;
}

std::shared_ptr<const LibraryReading> CLibraryCache::Find(const std::wstring& folder) {
    CSingleLock lock(&m_lock, TRUE);
    for (const Entry& entry : m_entries) {
        if (entry.folder == folder) {
            return entry.reading;
        }
    }
    return nullptr;
}

void CLibraryCache::Keep(const std::wstring& folder,
                         std::shared_ptr<const LibraryReading> reading) {
    CSingleLock lock(&m_lock, TRUE);
    std::erase_if(m_entries, [&](const Entry& entry) { return entry.folder == folder; });
    if (reading == nullptr) {
        return;
    }
    m_entries.push_front({folder, std::move(reading)});
    if (m_entries.size() > kMostLibraries) {
        m_entries.pop_back();
    }
}

}  // namespace Terrascope::Plugins

#include "terrascope/tiles/PixelStore.h"

#include <mutex>
#include <new>
#include <utility>

namespace Terrascope {

namespace {

std::mutex theLock;                   // of the next line
std::weak_ptr<CPixelStore> theStore;  // the one that pictures and displays hold now

}  // namespace

std::shared_ptr<CPixelStore> CPixelStore::Shared() {
    const std::lock_guard guard(theLock);
    auto store = theStore.lock();
    if (store == nullptr) {
        store = std::make_shared<CPixelStore>();
        theStore = store;
    }
    return store;
}

CPixelStore::Pixels CPixelStore::Take(std::size_t count) {
    {
        CSingleLock lock(&m_lock, TRUE);
        // The one that was used last is most likely still in the processor's cache.
        for (auto block = m_blocks.end(); block != m_blocks.begin();) {
            if ((--block)->count == count) {
                Pixels pixels = std::move(block->pixels);
                m_blocks.erase(block);
                m_bytes -= count * sizeof(std::uint32_t);
                return pixels;
            }
        }
    }
    return Pixels(new (std::nothrow) std::uint32_t[count]);
}

std::size_t CPixelStore::Bytes() const {
    CSingleLock lock(&m_lock, TRUE);
    return m_bytes;
}

void CPixelStore::Put(Pixels pixels, std::size_t count) noexcept {
    const std::size_t bytes = count * sizeof(std::uint32_t);
    if (bytes > kMaxBytes) {
        return;
    }
    CSingleLock lock(&m_lock, TRUE);
    // What was used longest ago goes: a map with other tiles is shown now.
    auto kept = m_blocks.begin();
    for (; m_bytes + bytes > kMaxBytes; ++kept) {
        m_bytes -= kept->count * sizeof(std::uint32_t);
    }
    m_blocks.erase(m_blocks.begin(), kept);
    try {
        m_blocks.push_back({std::move(pixels), count});
        m_bytes += bytes;
    } catch (const std::bad_alloc&) {
        // The pixels are freed: they had to be one day.
    }
}

}  // namespace Terrascope

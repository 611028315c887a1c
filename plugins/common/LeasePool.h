#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

namespace Terrascope::Plugins {

/// Things that one thread uses at a time and that are costly to make (a connection, a handle), kept
/// for the next use, of the same thread if it can be. Nobody waits for another's; and unlike
/// variables of a thread, none outlives the pool.
///
/// Owns:    at most sixteen that rest; one that comes back when all places are taken ends.
/// Threads: any; there is no lock.
template <class T>
class CLeasePool {
public:
    CLeasePool() = default;
    ~CLeasePool() { Clear(); }
    CLeasePool(const CLeasePool&) = delete;
    CLeasePool& operator=(const CLeasePool&) = delete;

    /// Null when none is at rest: the caller makes one.
    std::unique_ptr<T> Take() {
        const std::size_t first = FirstPlace();
        for (std::size_t i = 0; i < kPlaces; ++i) {
            std::atomic<T*>& place = m_resting[(first + i) % kPlaces];
            if (place.load(std::memory_order_relaxed) != nullptr) {
                if (T* thing = place.exchange(nullptr, std::memory_order_acquire)) {
                    return std::unique_ptr<T>(thing);
                }
            }
        }
        return nullptr;
    }
    void PutBack(std::unique_ptr<T> thing) {
        const std::size_t first = FirstPlace();
        for (std::size_t i = 0; i < kPlaces; ++i) {
            T* empty = nullptr;
            if (m_resting[(first + i) % kPlaces].compare_exchange_strong(
                    empty, thing.get(), std::memory_order_release, std::memory_order_relaxed)) {
                static_cast<void>(thing.release());
                return;
            }
        }
    }
    /// Ends those at rest.
    void Clear() {
        while (Take() != nullptr) {
        }
    }

private:
    static constexpr std::size_t kPlaces = 16;

    static std::size_t FirstPlace() {
        return ::GetCurrentThreadId() / 4 % kPlaces;  // identifiers are multiples of four
    }

    std::array<std::atomic<T*>, kPlaces> m_resting{};
};

}  // namespace Terrascope::Plugins

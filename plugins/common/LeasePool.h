#pragma once

#include <afxmt.h>

#include <memory>
#include <utility>
#include <vector>

#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// Things that one thread uses at a time and that are costly to make (a connection, a handle), kept
/// for the next thread that needs one. There are as many as were ever in use at once, so nobody
/// waits for another's; and unlike variables of a thread, none outlives the pool.
///
/// Threads: any. The lock is held to take one out and to put it back only.
template <class T>
class CLeasePool {
public:
    /// Null when none is at rest: the caller makes one.
    std::unique_ptr<T> Take() {
        CSingleLock lock(&m_lock, TRUE);
        if (m_resting.empty()) {
            return nullptr;
        }
        std::unique_ptr<T> thing = std::move(m_resting.back());
        m_resting.pop_back();
        return thing;
    }
    void PutBack(std::unique_ptr<T> thing) {
        CSingleLock lock(&m_lock, TRUE);
        m_resting.push_back(std::move(thing));
    }
    /// Ends those at rest.
    void Clear() {
        std::vector<std::unique_ptr<T>> ending;
        CSingleLock lock(&m_lock, TRUE);
        ending.swap(m_resting);
        lock.Unlock();
    }

private:
    CCriticalSection m_lock;
    std::vector<std::unique_ptr<T>> m_resting TERRASCOPE_GUARDED_BY(m_lock);
};

}  // namespace Terrascope::Plugins

#include <afxmt.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

/// Whether another thread could take the lock now.
bool IsFree(CCriticalSection& lock) {
    bool free = false;
    std::thread([&] {
        CRITICAL_SECTION* section = lock;
        free = ::TryEnterCriticalSection(section);
        if (free) {
            ::LeaveCriticalSection(section);
        }
    }).join();
    return free;
}

TEST(SingleLock, HoldsFromTheCallOnUntilTheScopeEnds) {
    CCriticalSection section;
    {
        CSingleLock lock(&section);
        EXPECT_TRUE(!lock.IsLocked() && IsFree(section));
        EXPECT_TRUE(lock.Lock());
        EXPECT_TRUE(CSingleLock(&section, TRUE).IsLocked()) << "the same thread may again";
        EXPECT_TRUE(lock.IsLocked() && !IsFree(section));
    }
    EXPECT_TRUE(IsFree(section));
    CSingleLock lock(&section, TRUE);
    EXPECT_TRUE(lock.Unlock() && !lock.IsLocked() && IsFree(section));
}

}  // namespace

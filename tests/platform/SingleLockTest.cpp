#include <afxmt.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

/// Whether another thread could take the lock now.
bool IsFree(CCriticalSection& lock) {
    bool free = false;
    std::thread([&] {
        CRITICAL_SECTION* section = lock;
        free = ::TryEnterCriticalSection(section);
        if (free)
            ::LeaveCriticalSection(section);
    }).join();
    return free;
}

TEST(SingleLock, HoldsFromTheCallOnUntilTheScopeEnds) {
    CCriticalSection section;
    {
        CSingleLock lock(&section);
        EXPECT_FALSE(lock.IsLocked());
        EXPECT_TRUE(IsFree(section));
        EXPECT_TRUE(lock.Lock());
        EXPECT_TRUE(lock.IsLocked());
        EXPECT_FALSE(IsFree(section));

        const CSingleLock again(&section, TRUE);  // the same thread may
        EXPECT_TRUE(again.IsLocked());
    }
    EXPECT_TRUE(IsFree(section));

    CSingleLock lock(&section, TRUE);
    EXPECT_TRUE(lock.Unlock());
    EXPECT_FALSE(lock.IsLocked());
    EXPECT_TRUE(IsFree(section));
}

TEST(SingleLock, LetsGoWhenAnExceptionPasses) {
    CCriticalSection section;
    try {
        const CSingleLock lock(&section, TRUE);
        AfxThrowUserException();
    } catch (CException* thrown) {
        thrown->Delete();
    }
    EXPECT_TRUE(IsFree(section));
}

TEST(SingleLock, LetsOneThreadInAtATime) {
    CCriticalSection section;
    int inside = 0;
    int most = 0;
    int total = 0;
    std::thread threads[4];
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < 5000; ++i) {
                CSingleLock lock(&section);
                lock.Lock();
                most = std::max(most, ++inside);
                ++total;
                --inside;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(total, 20000);
}

}  // namespace

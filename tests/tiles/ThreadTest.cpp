#include "terrascope/tiles/Thread.h"

#include <gtest/gtest.h>

#include <atomic>

#include "tests/fixtures/Await.h"

namespace Terrascope {
namespace {

using TerrascopeTest::Await;

class CountingThread : public CThread {
public:
    ~CountingThread() override { Stop(); }

    DWORD Run() override {
        ++runs;
        while (!ShouldStop(1)) {
        }
        stopSeen = ShouldStop(0) && ShouldStop(0);
        return 0;
    }

    std::atomic<int> runs{0};
    std::atomic<bool> stopSeen{false};
};

TEST(Thread, RunsOnceHoweverOftenItIsStartedAndKeepsTheStopSignal) {
    CountingThread thread;
    EXPECT_TRUE(thread.IsFinished());
    EXPECT_TRUE(thread.ShouldStop(0)) << "without an event there is nothing to wait for";
    thread.Stop();

    thread.Start();
    thread.Start();
    ASSERT_TRUE(Await([&] { return thread.runs == 1; }));
    EXPECT_FALSE(thread.IsFinished());
    thread.Stop();
    EXPECT_TRUE(thread.stopSeen);
    EXPECT_TRUE(thread.IsFinished());
    EXPECT_EQ(1, thread.runs);

    thread.Start();
    EXPECT_TRUE(Await([&] { return thread.runs == 2; })) << "it can be started again";
}

}  // namespace
}  // namespace Terrascope

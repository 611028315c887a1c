#include "terrascope/tiles/TileLoadQueue2.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "terrascope/tiles/TileLoadThread.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LogCapture.h"

namespace Terrascope {
namespace {

using TerrascopeTest::Await;

/// A provider whose first two fetches (one per loading thread) wait until they are released, so
/// that the queue behind them can be arranged at leisure.
class GatedProvider : public CTileMapInfoProviderWrapper {
public:
    GatedProvider() : m_gate(::CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~GatedProvider() override { ::CloseHandle(m_gate); }

    std::list<tagTILE_IMAGE*> LoadTiles(const CString& mapName, int layer,
                                        const std::list<CString>& keys) override {
        {
            const std::lock_guard lock(m_mutex);
            m_fetched.push_back(std::string(mapName) + "/" + std::to_string(layer) + "/" +
                                keys.front().GetString());
        }
        ++entered;
        ::WaitForSingleObject(m_gate, 30000);
        if (keys.front() == "throws") {
            throw std::runtime_error("no room here");
        }
        if (missing) {
            return {};
        }
        auto* image = new tagTILE_IMAGE;
        image->strKey = keys.front();
        return {image};
    }

    void Open() { ::SetEvent(m_gate); }

    /// What was fetched after those fetches that hold the gate.
    std::vector<std::string> Fetched(int held = 2) {
        const std::lock_guard lock(m_mutex);
        return {m_fetched.begin() + held, m_fetched.end()};
    }

    std::atomic<int> entered{0};
    std::atomic<bool> missing{false};

private:
    HANDLE m_gate;
    std::mutex m_mutex;
    std::vector<std::string> m_fetched;
};

class Receiver : public ITileLoadedSlot {
public:
    void OnTileLoaded(tagTILE_IMAGE* image) override {
        const bool fails = image->strKey == "fails";
        const bool hangs = image->strKey == "hangs";
        delete image;
        ++delivered;
        if (fails) {
            throw std::runtime_error("no room");
        }
        if (hangs) {
            ::WaitForSingleObject(::GetCurrentThread(), 30000);
        }
    }
    std::atomic<int> delivered{0};
};

class QueueFixture : public testing::Test {
protected:
    void Push(std::initializer_list<const char*> keys, bool ahead = false) {
        for (const char* key : keys) {
            queue->Push("map", 1, key, CSize(0, 0), ahead);
        }
    }

    GatedProvider provider;
    Receiver receiver;
    std::unique_ptr<CTileLoadQueue2> queue;
};

class TileLoadQueue : public QueueFixture {
protected:
    TileLoadQueue() { queue = std::make_unique<CTileLoadQueue2>(&receiver, &provider); }
    void HoldBothWorkers() {
        queue->Push("gate", 0, "gate0");
        queue->Push("gate", 0, "gate1");
        ASSERT_TRUE(Await([&] { return provider.entered == 2; }));
    }

    /// The order in which what is queued now is served.
    std::vector<std::string> Serve(int count) {
        provider.Open();
        EXPECT_TRUE(Await([&] { return provider.entered == 2 + count; }));
        EXPECT_TRUE(Await([&] { return provider.missing || receiver.delivered == 2 + count; }));
        return provider.Fetched();
    }
};

TEST_F(TileLoadQueue, ServesFirstInFirstOutButTheTileMovedLastFirst) {
    HoldBothWorkers();
    Push({"0", "1", "2", "3"});
    EXPECT_TRUE(queue->MoveToFront("1"));
    EXPECT_TRUE(queue->MoveToFront("3"));
    EXPECT_TRUE(queue->MoveToFront("not queued"));

    // Two workers: the pops are in order, but which of a pair reports first is open.
    auto served = Serve(4);
    std::sort(served.begin(), served.begin() + 2);
    std::sort(served.begin() + 2, served.end());
    EXPECT_EQ((std::vector<std::string>{"map/1/1", "map/1/3", "map/1/0", "map/1/2"}), served);
}

TEST_F(TileLoadQueue, KeepsAKeyOnceWhateverItsMapLayerOrCase) {
    HoldBothWorkers();
    queue->Push("first", 1, "aB");
    queue->Push("second", 2, "Ab");
    queue->MoveToFront("AB");
    EXPECT_EQ(std::vector<std::string>{"first/1/aB"}, Serve(1));

    queue->Push("third", 3, "ab");
    EXPECT_TRUE(Await([&] { return provider.entered == 4; })) << "served, it can be queued again";
}

TEST_F(TileLoadQueue, GoesOnWhilePausedAndForgetsWhatWasCleared) {
    HoldBothWorkers();
    queue->Push("map", 1, "0");
    const tagTILE_LOAD_REQUEST former = queue->Pop();
    queue->Push("map", 1, "1");
    EXPECT_FALSE(queue->IsStale(former));
    queue->Clear();
    EXPECT_TRUE(queue->IsStale(former));
    queue->Push("map", 1, "0");
    EXPECT_FALSE(queue->IsStale(queue->Pop()));
    queue->Push("map", 1, "2");
    queue->Pause();
    EXPECT_EQ(std::vector<std::string>{"map/1/2"}, Serve(1));
    queue->Resume();
}

TEST_F(TileLoadQueue, DeliversATileAWorkerEachPaceButDoesNotWaitForMissingOnes) {
    provider.Open();
    ULONGLONG start = ::GetTickCount64();
    Push({"0", "1", "2", "3", "4", "5"});
    ASSERT_TRUE(Await([&] { return receiver.delivered == 6; }));
    // Three tiles a worker: two whole paces between its first and its last.
    EXPECT_GE(::GetTickCount64() - start, 2U * 150U);

    provider.missing = true;
    start = ::GetTickCount64();
    for (int i = 0; i < 100; ++i) {
        queue->Push("map", 1, std::to_string(i).c_str());
    }
    ASSERT_TRUE(Await([&] { return provider.entered == 106; }));
    EXPECT_LT(::GetTickCount64() - start, 5000U) << "paced, a hundred tiles take 7.5 s";
    EXPECT_EQ(6, receiver.delivered);
}

TEST_F(TileLoadQueue, LogsWhatFailsAndGoesOn) {
    const TerrascopeTest::LogCapture log;
    provider.Open();
    int fetched = 0;
    for (const char* key : {"fails", "throws", "throws", "0", "1", "2", "3"}) {
        queue->Push("map", 1, key);
        EXPECT_TRUE(Await([&] { return provider.entered > fetched; })) << key;
        ++fetched;
    }
    EXPECT_TRUE(Await([&] { return receiver.delivered == 5; }));
    EXPECT_EQ(3, log.Count("no room")) << log.Text();
}

/// Without the pace, and with requests beyond the view.
class FastTileLoadQueue : public QueueFixture {
protected:
    void Start(int threads) {
        TileLoadPolicy policy;
        policy.fast = true;
        policy.threads = threads;
        policy.retryDelays = {20, 30, 40};
        queue = std::make_unique<CTileLoadQueue2>(&receiver, &provider, policy);
        queue->Push("map", 1, "gate");
        ASSERT_TRUE(Await([&] { return provider.entered == 1; }));
    }
    void PushAhead(const char* key) { Push({key}, true); }
    bool Enter(int count, DWORD time = 10000) {
        return Await([&] { return provider.entered >= count; }, time);
    }
};

// One slow tile of a former view or map holds up nothing of this one.
TEST_F(FastTileLoadQueue, FetchesAheadWhenTheViewWaitsForNothingThatItShowsNow) {
    Start(6);
    Push({"0", "1", "2"}, true);
    EXPECT_FALSE(Enter(2, 100)) << "a tile of the view is still on its way";
    queue->MoveToFront("2");
    EXPECT_TRUE(Enter(2)) << "a thread has nothing else to do";
    queue->Arrange({{"0", {false, 1.0}}, {"1", {true, 9.0}}});
    EXPECT_TRUE(Enter(3));
    EXPECT_EQ((std::vector<std::string>{"map/1/2", "map/1/1"}), provider.Fetched(1));
    queue->Arrange({{"0", {false, 1.0}}});
    EXPECT_TRUE(Enter(4)) << "the view has left what was being fetched";
    {
        const CTileLoadQueue2::CHold hold(*queue);  // a thread may take it before it is arranged
        PushAhead("3");
        queue->Arrange({{"0", {true, 1.0}}, {"3", {false, 2.0}}});
    }
    EXPECT_FALSE(Enter(5, 100)) << "the view shows what was fetched ahead";
    queue->Clear();
    queue->Push("map", 1, "0");
    EXPECT_TRUE(Enter(5));
    PushAhead("3");
    tagTILE_LOAD_REQUEST stale;
    stale.strKey = "0";
    queue->Done(stale);
    EXPECT_FALSE(Enter(6, 100)) << "its key is being fetched again";
    queue->Clear();
    PushAhead("3");
    EXPECT_TRUE(Enter(6));
    provider.Open();
}

TEST_F(FastTileLoadQueue, FetchesNothingWhileItIsHeldAndAllOfItThen) {
    Start(3);
    provider.Open();
    {
        const CTileLoadQueue2::CHold hold(*queue);
        {
            const CTileLoadQueue2::CHold inner(*queue);
            queue->Push("map", 1, "0");
        }
        queue->Push("map", 1, "1");
        EXPECT_FALSE(Enter(2, 100));
    }
    EXPECT_TRUE(Await([&] { return receiver.delivered == 3; }));
}

TEST_F(FastTileLoadQueue, ArrangesTheVisibleFirstTheNearestFirstAndWithdrawsTheRest) {
    Start(1);
    Push({"visible, far", "gone", "visible, near"});
    Push({"ahead, far", "ahead, near", "visible now"}, true);
    queue->Arrange({{"visible, far", {true, 7.0}},
                    {"visible, near", {true, 1.0}},
                    {"visible now", {true, 4.0}},
                    {"ahead, far", {false, 3.0}},
                    {"ahead, near", {false, 2.0}}});
    provider.Open();
    EXPECT_TRUE(Await([&] { return receiver.delivered == 6; }, 1000)) << "paced, it takes 900 ms";
    EXPECT_EQ(
        (std::vector<std::string>{"map/1/visible, near", "map/1/visible now", "map/1/visible, far",
                                  "map/1/ahead, near", "map/1/ahead, far"}),
        provider.Fetched(1));
    queue->Push("map", 1, "gone");
    EXPECT_TRUE(Enter(7)) << "withdrawn, it can be pushed again";
}

TEST_F(FastTileLoadQueue, AsksAgainForWhatFailedWhileItIsInView) {
    Start(2);
    provider.missing = true;
    PushAhead("beyond");
    queue->Push("map", 1, "pushed anew");
    provider.Open();
    EXPECT_TRUE(Enter(2 * 4 + 1)) << "twice four times, and once for what is out of view";
    EXPECT_FALSE(Enter(2 * 4 + 2, 100)) << "three more times are enough";
    queue->Arrange({{"beyond", {true, 1.0}}});
    EXPECT_TRUE(Enter(2 * 4 + 1 + 3)) << "now it is in view";
    queue->Push("map", 1, "withdrawn");
    queue->Push("map", 1, "cleared");
    EXPECT_TRUE(Enter(2 * 4 + 1 + 3 + 2));
    queue->Arrange({{"cleared", {true, 1.0}}});
    queue->Clear();
    const int before = provider.entered;
    EXPECT_FALSE(Enter(before + 1, 100)) << "neither is wanted any more";
    queue->Push("map", 1, "comes");
    EXPECT_TRUE(Enter(before + 1));
    provider.missing = false;
    EXPECT_TRUE(Await([&] { return receiver.delivered == 1; })) << "it is there the second time";
    EXPECT_FALSE(Enter(before + 3, 100)) << "and is not asked for again";
}

TEST(TileLoadQueueEnd, DoesNotWaitForEverForAReceiverThatHangs) {
    static GatedProvider provider;
    static Receiver receiver;
    provider.Open();
    const ULONGLONG start = ::GetTickCount64();
    const int sessions = CGdiplusSession::LiveCount();
    {
        CTileLoadQueue2 queue(&receiver, &provider);
        queue.Push("map", 1, "hangs");
        ASSERT_TRUE(Await([&] { return receiver.delivered == 1; }));
    }
    EXPECT_GT(15000U, ::GetTickCount64() - start);
    EXPECT_EQ(sessions + 1, CGdiplusSession::LiveCount()) << "it may be using a decoder";
}

}  // namespace
}  // namespace Terrascope

// Tile keys, and the load queue with 10,000 pending tiles; each operation is to stay under 2 us.
#include <cstdio>
#include <vector>

#include "bench/Measure.h"
#include "terrascope/tiles/TileKey.h"
#include "terrascope/tiles/TileLoadQueue2.h"

namespace {

using namespace Terrascope;

constexpr unsigned kPending = 10000;
constexpr int kRuns = 9;
constexpr double kLimit = 2.0;  // microseconds

/// Its fetches never end until they are let go, so that the queue belongs to the benchmark.
class BlockedProvider : public CTileMapInfoProviderWrapper {
public:
    std::list<tagTILE_IMAGE*> LoadTiles(const CString&, int, const std::list<CString>&) override {
        ::InterlockedIncrement(&blocked);
        ::WaitForSingleObject(gate, INFINITE);
        return {};
    }
    HANDLE gate = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    volatile LONG blocked = 0;
};

class NoReceiver : public ITileLoadedSlot {
public:
    void OnTileLoaded(tagTILE_IMAGE* image) override { delete image; }
};

}  // namespace

int main() {
    Bench::PrintHeader();
    std::vector<CString> keys;
    for (unsigned i = 0; i < kPending; ++i) {
        keys.push_back(MakeTileKey(i, i * 7, 18));
    }
    const auto row = [](const char* name, const std::vector<double>& times) {
        Bench::PrintRow(name, Bench::Median(times) / kPending, kLimit, 1.0);
    };
    const auto repeat = [](const auto& work) {
        std::vector<double> times;
        times.reserve(kRuns);
        for (int run = 0; run < kRuns; ++run) {
            times.push_back(Bench::MicrosecondsOf(work));
        }
        return times;
    };
    row("MakeTileKey, layer 18, against 2 us", repeat([] {
            for (unsigned i = 0; i < kPending; ++i) {
                Bench::Use(MakeTileKey(i, i * 7, 18));
            }
        }));
    row("DecodeTileKey, against 2 us", repeat([&] {
            TileIndex index;
            for (const CString& key : keys) {
                Bench::Use(DecodeTileKey(key, index));
            }
        }));

    BlockedProvider provider;
    NoReceiver receiver;
    {
        CTileLoadQueue2 queue(&receiver, &provider);
        queue.Push("map", 18, "a");
        queue.Push("map", 18, "b");
        while (provider.blocked < 2) {
            ::Sleep(1);
        }
        const auto pushAll = [&] {
            for (const CString& key : keys) {
                queue.Push("map", 18, key);
            }
        };
        const auto popAll = [&] {
            for (unsigned i = 0; i < kPending; ++i) {
                Bench::Use(queue.Pop());
            }
        };
        std::vector<double> push;
        std::vector<double> move;
        std::vector<double> pop;
        for (int run = 0; run < kRuns; ++run) {
            push.push_back(Bench::MicrosecondsOf(pushAll));
            move.push_back(Bench::MicrosecondsOf([&] {
                for (const CString& key : keys) {
                    queue.MoveToFront(key);
                }
            }));
            pop.push_back(Bench::MicrosecondsOf(popAll));
        }
        row("Push up to 10,000 pending, against 2 us", push);
        row("MoveToFront, 10,000 pending, against 2 us", move);
        row("Pop from 10,000 pending, against 2 us", pop);
        ::SetEvent(provider.gate);
    }
    ::CloseHandle(provider.gate);
    return 0;
}

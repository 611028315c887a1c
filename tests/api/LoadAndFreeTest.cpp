// The library comes and goes many times in one process.
#include <windows.h>
// After windows.h:
#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <array>
#include <memory>

#include "tests/api/LibraryInUse.h"
#include "tests/fixtures/Await.h"

namespace TerrascopeTest {
namespace {

struct Usage {
    SIZE_T bytes = 0;
    int handles = 0;
    int threads = 0;
};

Usage UsageNow() {
    Usage usage;
    std::array<HANDLE, 64> heaps{};
    const DWORD count = ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    for (DWORD i = 0; i < count; ++i) {
        PROCESS_HEAP_ENTRY block{};
        while (::HeapWalk(heaps[i], &block)) {
            usage.bytes += (block.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? block.cbData : 0;
        }
    }
    // Wine counts no handles; it numbers them, in fours, from the lowest that is free.
    const HANDLE fresh = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    usage.handles = static_cast<int>(reinterpret_cast<INT_PTR>(fresh) / 4);
    ::CloseHandle(fresh);
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Thread32First(snapshot, &entry); more;
         more = ::Thread32Next(snapshot, &entry)) {
        usage.threads += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(snapshot);
    return usage;
}

TEST(Library, LeavesNothingBehindWhenItIsLoadedUsedAndFreed200Times) {
    const LibraryFiles files;
    constexpr int kRounds = 200, kWarm = 20;
    Usage first;
    for (int round = 0; round < kRounds; ++round) {
        {
            const LoadedLibrary library(files.Library());
            Ledger& records = library.Records();
            const std::unique_ptr<LookalikeDisplay> display(
                library.MakeDisplay({628, 628}, nullptr, 1.0));
            ASSERT_TRUE(display->OpenMap("lookalike"));
            ASSERT_TRUE(display->SetLayer(3));
            ASSERT_TRUE(Await([&] { return records.made[Ledger::kTile] > 0; }));
        }
        ASSERT_EQ(nullptr, ::GetModuleHandleA("Terrascope.dll")) << round;
        ASSERT_EQ(nullptr, ::GetModuleHandleA("LookalikeProvider.dll")) << round;
        if (round == kWarm) {
            first = UsageNow();
        }
    }
    const Usage last = UsageNow();
    EXPECT_LE(last.handles, first.handles + 5);
    EXPECT_LE(last.threads, first.threads);
    EXPECT_LE(last.bytes, first.bytes + 1000U * (kRounds - kWarm)) << "a tile's picture has 8192";
}

// A thread that is stuck in the plug-in is abandoned after 10 s: the host's other displays work,
// the library may be freed, and the thread may come back to its code then.
TEST(Library, OutlivesAThreadThatIsStuckInAProvider) {
    const LibraryFiles files;
    Ledger* records = nullptr;
    {
        const LoadedLibrary library(files.Library());
        records = &library.Records();
        ::AcquireSRWLockExclusive(&records->gate);
        for (const int stuck : {1, 0}) {
            records->toHold = stuck;
            const int before = records->made[Ledger::kTile];
            std::unique_ptr<LookalikeDisplay> display(
                library.MakeDisplay({628, 628}, nullptr, 1.0));
            ASSERT_TRUE(display->OpenMap("lookalike"));
            ASSERT_TRUE(display->SetLayer(3));
            ASSERT_TRUE(Await(
                [&] { return records->held == 1 && records->made[Ledger::kTile] >= before + 3; }));
            const ULONGLONG start = ::GetTickCount64();
            display.reset();
            const ULONGLONG time = ::GetTickCount64() - start;
            EXPECT_EQ(stuck == 1, time >= 9900) << time;
            EXPECT_LT(time, 12000U);
        }
    }
    ::ReleaseSRWLockExclusive(&records->gate);
    EXPECT_TRUE(Await([&] { return records->held == 0; }));
    EXPECT_EQ(2, records->providers) << "local and remote one of the stuck thread";
}

}  // namespace
}  // namespace TerrascopeTest

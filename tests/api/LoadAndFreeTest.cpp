// The library comes and goes many times in one process.
#include <windows.h>
// After windows.h:
#include <gtest/gtest.h>

#include "tests/api/LibraryInUse.h"
#include "tests/fixtures/Await.h"

namespace TerrascopeTest {
namespace {

/// The bytes that are in use in all heaps of the process.
SIZE_T BytesInUse() {
    HANDLE heaps[64];
    const DWORD count = ::GetProcessHeaps(64, heaps);
    SIZE_T bytes = 0;
    for (DWORD i = 0; i < count; ++i) {
        PROCESS_HEAP_ENTRY block{};
        while (::HeapWalk(heaps[i], &block)) {
            bytes += (block.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? block.cbData : 0;
        }
    }
    return bytes;
}

/// Wine counts no handles; it numbers them, in fours, from the lowest that is free.
int HandlesInUse() {
    const HANDLE fresh = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    ::CloseHandle(fresh);
    return static_cast<int>(reinterpret_cast<INT_PTR>(fresh) / 4);
}

TEST(Library, LeavesNothingBehindWhenItIsLoadedUsedAndFreed200Times) {
    LibraryInUse library;
    int handles = 0;
    SIZE_T bytes = 0;
    for (int round = 0; round < 200; ++round) {
        auto display = library.MakeDisplay();
        ASSERT_TRUE(display->OpenMap("lookalike") && display->SetLayer(3));
        ASSERT_TRUE(Await([&] { return library.Records().tiles > 0; }));
        display.reset();
        library.Free();
        ASSERT_EQ(nullptr, ::GetModuleHandleA("Terrascope.dll")) << round;
        ASSERT_EQ(nullptr, ::GetModuleHandleA("LookalikeProvider.dll")) << round;
        if (round == 20) {
            handles = HandlesInUse();
            bytes = BytesInUse();
        }
        library.Load();
    }
    library.Free();
    EXPECT_LE(HandlesInUse(), handles + 5) << "a thread has one, too";
    EXPECT_LE(BytesInUse(), bytes + 4000) << "the smallest record has 32";
}

TEST(Library, TakesTilesFromItsCacheUntilItsMapsAreUpdated) {
    LibraryInUse library;
    const auto tilesAfter = [&](LookalikeDisplay& display) {
        EXPECT_TRUE(display.OpenMap("lookalike") && display.SetLayer(3));
        int seen = -1;
        while (Await([&] { return seen != library.Records().tiles; }, 200)) {
            seen = library.Records().tiles;
        }
        return seen;
    };
    auto display = library.MakeDisplay();
    const int first = tilesAfter(*display);
    EXPECT_LT(0, first);
    for (const bool updated : {false, true}) {
        display = library.MakeDisplay();  // the former one goes when the new one holds the cache
        if (updated) {
            library.Assistant<bool(bool)>("12UpdateMapLibEb")(true);
        }
        EXPECT_EQ(updated ? 2 * first : first, tilesAfter(*display));
    }
    display.reset();
    library.Free();
}

// A thread that is stuck in the plug-in or in a decoder is abandoned after 10 s: other displays
// work, the library may be freed, and loaded again, and the thread may come back to its code then.
TEST(Library, OutlivesThreadsThatAreStuckInAProviderOrADecoder) {
    const HANDLE inside = ::CreateEventA(nullptr, TRUE, FALSE, "AwkwardInside");
    const HANDLE leave = ::CreateEventA(nullptr, TRUE, FALSE, "AwkwardLeave");
    const auto isInside = [&] { return ::WaitForSingleObject(inside, 0) == WAIT_OBJECT_0; };
    LibraryInUse library;
    Ledger& records = library.Records();
    ::AcquireSRWLockExclusive(&records.gate);
    enum Stuck { InProvider, InDecoder, Nowhere };
    for (const Stuck stuck : {InProvider, InDecoder, Nowhere}) {
        records.toHold = stuck == InProvider ? 1 : 0;
        records.file = stuck == InDecoder ? "AWKW" : nullptr;
        if (stuck == Nowhere) {
            library.Free();
            library.Load();
        }
        const int before = records.tiles;
        auto display = library.MakeDisplay();
        ASSERT_TRUE(display->OpenMap("lookalike") && display->SetLayer(3));
        ASSERT_TRUE(Await([&] { return records.held == 1 && records.tiles >= before + 3; }));
        ASSERT_TRUE(Await([&] { return isInside() == (stuck != InProvider); }));
        const ULONGLONG start = ::GetTickCount64();
        display.reset();
        const ULONGLONG time = ::GetTickCount64() - start;
        EXPECT_EQ(stuck != Nowhere, time >= 9900) << time;
        EXPECT_LT(time, 12000U);
    }
    library.Free();
    ::ReleaseSRWLockExclusive(&records.gate);
    ::SetEvent(leave);
    EXPECT_TRUE(Await([&] { return records.held == 0 && !isInside(); }));
    EXPECT_EQ(4, records.providers) << "local and remote one of each stuck thread";
    ::CloseHandle(inside);
    ::CloseHandle(leave);
}

}  // namespace
}  // namespace TerrascopeTest

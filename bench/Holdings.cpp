#include "bench/Holdings.h"

#include <windows.h>
// These want it before them.
#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <vector>

namespace Terrascope::Bench {

namespace {

/// One entry of the system's list of handles; GetProcessHandleCount answers 0 under Wine.
struct SystemHandle {
    USHORT process;
    USHORT backTrace;
    UCHAR type;
    UCHAR flags;
    USHORT handle;
    void* object;
    ACCESS_MASK access;
};
struct SystemHandles {
    ULONG count;
    SystemHandle handles[1];
};

std::size_t CountHandles() {
    constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    constexpr auto kTooShort = static_cast<NTSTATUS>(0xC0000004);
    std::vector<std::max_align_t> buffer(1 << 12);
    const auto ask = [&] {
        return ::NtQuerySystemInformation(
            kSystemHandleInformation, buffer.data(),
            static_cast<ULONG>(buffer.size() * sizeof(std::max_align_t)), nullptr);
    };
    NTSTATUS status = ask();
    while (status == kTooShort) {
        buffer.resize(buffer.size() * 2);
        status = ask();
    }
    if (status != 0) {
        return 0;
    }
    const auto& list = *reinterpret_cast<const SystemHandles*>(buffer.data());
    const auto own = static_cast<USHORT>(::GetCurrentProcessId());
    return static_cast<std::size_t>(
        std::count_if(list.handles, list.handles + list.count,
                      [&](const SystemHandle& each) { return each.process == own; }));
}

std::size_t CountThreads() {
    std::size_t count = 0;
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof(thread);
    for (BOOL more = ::Thread32First(snapshot, &thread); more;
         more = ::Thread32Next(snapshot, &thread)) {
        count += thread.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(snapshot);
    return count;
}

}  // namespace

Holdings HoldingsNow() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
    return {counters.PagefileUsage, CountHandles(), CountThreads()};
}

}  // namespace Terrascope::Bench

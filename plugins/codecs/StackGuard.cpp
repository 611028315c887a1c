// What the compiler's stack protector calls. The compiler's own library for it makes its number
// with the system's cryptography, which loads four DLLs and takes 6 ms: longer than twelve tiles.
#define _CRT_RAND_S
#include <windows.h>

#include <cstdint>
#include <cstdlib>

extern "C" {

/// What lies between a function's arrays and its return address; constant after the load.
std::uintptr_t __stack_chk_guard = 0;

/// A function has written behind its arrays: nothing can be trusted any more.
[[noreturn]] void __stack_chk_fail() {
    // The system's way to end a process of which it makes a report: __fastfail of other compilers.
    constexpr unsigned kStackCookieCheckFailure = 2;
    asm volatile("int $0x29" : : "c"(kStackCookieCheckFailure));
    __builtin_trap();
}
}

namespace {

// Before all other constructors; this file is built without protection, as the number changes here.
__attribute__((constructor(101))) void SetGuard() {
    unsigned high = 0;
    unsigned low = 0;
    if (::rand_s(&high) != 0 || ::rand_s(&low) != 0) {
        LARGE_INTEGER time{};
        ::QueryPerformanceCounter(&time);
        high = ::GetCurrentProcessId() ^ static_cast<unsigned>(time.HighPart);
        low = ::GetCurrentThreadId() ^ static_cast<unsigned>(time.LowPart);
    }
    // A zero byte stops who copies a text over it.
    __stack_chk_guard = (std::uintptr_t{high} << 32 | low) & ~std::uintptr_t{0xFF};
}

}  // namespace

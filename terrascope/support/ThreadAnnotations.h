#pragma once

/// Which lock guards what, for Clang's thread-safety analysis; nothing for other compilers. A
/// syntax-only pass of Clang with -Wthread-safety checks every use of an annotated member.
#if defined(__clang__)
#define TERRASCOPE_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define TERRASCOPE_THREAD_ANNOTATION(x)
#endif

/// On classes: an object is something that can be held.
#define TERRASCOPE_CAPABILITY(name) TERRASCOPE_THREAD_ANNOTATION(capability(name))

/// On members: the lock that guards the member.
#define TERRASCOPE_GUARDED_BY(lock) TERRASCOPE_THREAD_ANNOTATION(guarded_by(lock))

/// On locks: their place in the order.
#define TERRASCOPE_ACQUIRED_BEFORE(...) TERRASCOPE_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define TERRASCOPE_ACQUIRED_AFTER(...) TERRASCOPE_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))

/// On functions: the caller holds the lock.
#define TERRASCOPE_REQUIRES(...) TERRASCOPE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))

/// On functions that return a lock: the member that it is.
#define TERRASCOPE_RETURN_CAPABILITY(lock) TERRASCOPE_THREAD_ANNOTATION(lock_returned(lock))

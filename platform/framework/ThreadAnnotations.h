#pragma once

/// Clang's thread-safety attributes; empty for other compilers. CCriticalSection is a capability
/// and CSingleLock a scoped capability, so a syntax-only pass of Clang with -Wthread-safety checks
/// every use of an annotated member.
#if defined(__clang__)
#define THREAD_ANNOTATION(x) __attribute__((x))
#else
#define THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(name) THREAD_ANNOTATION(capability(name))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)

/// On members: the lock that guards the member, or what it points to.
#define GUARDED_BY(lock) THREAD_ANNOTATION(guarded_by(lock))
#define PT_GUARDED_BY(lock) THREAD_ANNOTATION(pt_guarded_by(lock))

/// On locks: their place in the order.
#define ACQUIRED_BEFORE(...) THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) THREAD_ANNOTATION(acquired_after(__VA_ARGS__))

/// On functions: the caller holds the lock; must not hold it; the function takes or gives it up.
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// On functions that return a lock: the member that it is.
#define RETURN_CAPABILITY(lock) THREAD_ANNOTATION(lock_returned(lock))
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION(no_thread_safety_analysis)

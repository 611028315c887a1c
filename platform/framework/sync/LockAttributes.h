#pragma once

/// What Clang's thread-safety analysis (-Wthread-safety) reads of the locks; nothing for
/// other compilers. CCriticalSection is a capability, CSingleLock a scoped one.
#if defined(__clang__)
#define FRAMEWORK_LOCK_ATTRIBUTE(x) __attribute__((x))
#else
#define FRAMEWORK_LOCK_ATTRIBUTE(x)
#endif

#define FRAMEWORK_CAPABILITY(name) FRAMEWORK_LOCK_ATTRIBUTE(capability(name))
#define FRAMEWORK_SCOPED_CAPABILITY FRAMEWORK_LOCK_ATTRIBUTE(scoped_lockable)
#define FRAMEWORK_ACQUIRE(...) FRAMEWORK_LOCK_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define FRAMEWORK_RELEASE(...) FRAMEWORK_LOCK_ATTRIBUTE(release_capability(__VA_ARGS__))
#define FRAMEWORK_NO_THREAD_SAFETY_ANALYSIS FRAMEWORK_LOCK_ATTRIBUTE(no_thread_safety_analysis)

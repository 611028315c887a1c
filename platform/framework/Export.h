#pragma once

/// FRAMEWORK_API marks what framework.dll exports; FRAMEWORK_BUILD is defined while the DLL's own
/// sources are compiled.
#ifdef FRAMEWORK_BUILD
#define FRAMEWORK_API __declspec(dllexport)
#else
#define FRAMEWORK_API __declspec(dllimport)
#endif

/// Lets the compiler check printf-style arguments; positions count `this` as 1.
#if defined(__GNUC__) && !defined(__clang__)
#define FRAMEWORK_PRINTF(at, first) __attribute__((format(gnu_printf, at, first)))
#elif defined(__clang__)
#define FRAMEWORK_PRINTF(at, first) __attribute__((format(printf, at, first)))
#else
#define FRAMEWORK_PRINTF(at, first)
#endif

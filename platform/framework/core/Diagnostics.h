#pragma once

#include <cassert>

#include "../Export.h"
#include "Windows.h"

/// Writes a printf-style line to the debugger (and nowhere else). Keeps GetLastError().
FRAMEWORK_API void AfxTrace(LPCSTR format, ...) FRAMEWORK_PRINTF(1, 2);

#ifdef NDEBUG
#define ASSERT(condition) ((void)0)
#define VERIFY(condition) ((void)(condition))
#define TRACE(...) ((void)0)
#else
#define ASSERT(condition) assert(condition)
#define VERIFY(condition) assert(condition)
#define TRACE(...) AfxTrace(__VA_ARGS__)
#endif

#include "Diagnostics.h"

#include <cstdarg>
#include <cstdio>

void AfxTrace(LPCSTR format, ...) {
    const DWORD lastError = GetLastError();
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    OutputDebugStringA(line);
    SetLastError(lastError);
}

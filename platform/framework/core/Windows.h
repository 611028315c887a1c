#pragma once

#include <windows.h>

#include <tchar.h>

// An old alias of GetTickCount; it would rename CTime::GetCurrentTime.
#undef GetCurrentTime

using POSITION = struct FrameworkPosition*;

#pragma once

#include <windows.h>

#include <tchar.h>

using POSITION = struct FrameworkPosition*;

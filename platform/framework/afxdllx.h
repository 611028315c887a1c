#pragma once

/// What the entry point of an extension DLL needs.
#include "afx.h"
#include "module/Module.h"

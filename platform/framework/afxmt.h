#pragma once

/// The framework's locks.
#include "afx.h"
#include "sync/CriticalSection.h"
#include "sync/SingleLock.h"

#pragma once

/// The display interface under the name that hosts include; it is defined beside its one
/// implementation, so that no folder includes from one above it.
#include "terrascope/display/ITerrascope.h"

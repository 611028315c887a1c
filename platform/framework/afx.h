#pragma once

/// The framework's classes without windows: strings, exceptions, run-time classes.
#include "core/Diagnostics.h"
#include "core/Exception.h"
#include "core/Object.h"
#include "core/String.h"
#include "core/Time.h"
#include "core/Windows.h"

#pragma once

/// The framework's classes that know no window: strings, files, time, exceptions, run-time classes.
#include "core/Diagnostics.h"
#include "core/Exception.h"
#include "core/File.h"
#include "core/FileException.h"
#include "core/MemFile.h"
#include "core/Object.h"
#include "core/StdioFile.h"
#include "core/String.h"
#include "core/Time.h"
#include "core/Windows.h"

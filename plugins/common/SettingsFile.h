#pragma once

#include <afx.h>

namespace Terrascope::Plugins {

/// The path of Terrascope.ini beside the library. Empty when the active code page lacks a character
/// of it.
CString SettingsFile();

}  // namespace Terrascope::Plugins

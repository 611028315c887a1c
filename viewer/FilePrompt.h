#pragma once

#include <afxwin.h>

#include <string>

namespace Viewer {

/// Lets the user choose a map's file in the system's dialog; empty when he chose none.
std::string AskForMapFile(CWnd& owner);

}  // namespace Viewer

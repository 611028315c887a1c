#pragma once

#include <string>

#include "viewer/ViewerOptions.h"

/// What the program does without a user: each function does one piece of work and prints its
/// result to standard output. False when it went wrong; `error` is then one line about what to do.
///
/// Threads: the user-interface thread; they run its messages.
namespace Viewer {

class CMainFrame;

/// One line for each map: name, layers, west, south, east, north, with tabs between.
bool PrintMaps(CMainFrame& frame, std::string& error);

/// Waits for the complete picture, writes it, prints one line of JSON.
bool TakeSnapshot(CMainFrame& frame, const ViewerOptions& options, std::string& error);

bool PlayTour(CMainFrame& frame, const ViewerOptions& options, std::string& error);

}  // namespace Viewer

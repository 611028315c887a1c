#pragma once

#include <string_view>

/// Text output of a program that has no console of its own: it goes to the handles that the caller
/// passed on, else to the console that the program was started from, else nowhere.
///
/// Threads: the user-interface thread.
/// Errors:  a line that cannot be written is lost.
namespace Viewer {

/// Writes to standard output at once, without buffering.
void Print(std::string_view text);

/// Writes "TerrascopeViewer: `text`" and a line end to standard error.
void PrintError(std::string_view text);

}  // namespace Viewer

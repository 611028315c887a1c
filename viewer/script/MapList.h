#pragma once

#include <string>
#include <vector>

namespace Viewer {

/// The names of the maps that the configured provider offers, in its order. The library's
/// selection dialog is the one place that lists them: it is run off the screen, read, and
/// cancelled.
///
/// Threads: the user-interface thread; runs its messages.
std::vector<std::string> ReadMapNames();

}  // namespace Viewer

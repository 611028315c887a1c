#pragma once

#include <functional>

namespace Viewer {

/// Runs the program's messages until `isDone`, asked after each burst of messages, is true.
/// False when `milliseconds` have passed before, or when the quit message comes; the quit
/// message is then posted again for the caller's own loop.
bool PumpUntil(const std::function<bool()>& isDone, double milliseconds);

/// Runs the messages that wait now, painting included.
void PumpPending();

}  // namespace Viewer

#pragma once

namespace Terrascope::Plugins {

/// Sends the plug-in's LogLine calls to a log of its own, "log\NAME\NAME.log" beside the library.
/// No file is made before the first line. `name` must outlive the plug-in.
/// Threads: call it once, from "registerPlugin".
void BeginPluginLog(const char* name);

/// Closes the log. For DllMain, and only when the plug-in is unloaded from a running process: at
/// the process's end a thread may have died while it held the log's lock.
void EndPluginLog();

}  // namespace Terrascope::Plugins

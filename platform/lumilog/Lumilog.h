#pragma once

/// The log of a module: lines in a file of its own and, if wanted, on the console.
///
/// Threads: every function may be called on any thread.
/// Errors:  none is reported and none throws: a folder or file that cannot be made means that
///          nothing is written there.
namespace Lumilog {

/// How a module logs.
struct Configuration {
    const char* moduleName = "";  ///< names the log and its file, MODULE.log
    const char* directory = "";   ///< in the active code page; it must exist
    int level = 6;      ///< 0 off, 1 critical, 2 errors, 3 warnings, 4 information, 5 debug, 6 all
    int limit = 10000;  ///< kilobytes; a file that would grow beyond it becomes MODULE.1.log
};

/// Begins a module's log; its file sink is on, its console sink off. A name that is registered
/// already gets the new configuration.
void RegisterByModule(const Configuration& configuration);

/// Writes out what is pending and ends the module's log.
void UnRegister(const char* moduleName);

/// Writes one printf-style line with date, time and thread. Dropped for a module that is not
/// registered.
[[gnu::format(printf, 2, 3)]] void _dout(const char* moduleName, const char* format, ...);

/// Switch a registered module's sinks.
void SaveToFile(const char* moduleName, bool on);
void SaveToConsole(const char* moduleName, bool on);

}  // namespace Lumilog

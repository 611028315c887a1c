#pragma once

namespace Terrascope {

/// The library's own log: "log/<module>/" beside the DLL, through Lumilog.
///
/// What is logged while the library is being loaded is kept until the log is set up, which happens
/// at the first GetTerrascope, SelectMap or UpdateMapLib: under the loader lock no file is made.
///
/// Errors: a folder that cannot be made is ignored; then nothing is written.

/// Keeps what is logged from now on. Called while the library is being loaded.
void KeepEarlyLogLines();

/// Makes the log's folders, registers the module with Lumilog and writes the first line,
/// "<name> ver is <version>", then what was kept. Only the first call does anything.
void SetUpModuleLog(const char* moduleName, const char* version);

/// The same for this library, with its own name and version.
void SetUpModuleLog();

/// Ends the log. Called while the library is being unloaded.
void ShutDownModuleLog();

}  // namespace Terrascope

#pragma once

#include <afx.h>

namespace Terrascope {

/// Path texts: narrow, in the active code page, with backslashes. Backslashes are looked for
/// character by character, so that a two-byte character's second byte is never taken for one.
/// Results hold at most 259 bytes where the system's path functions make them.
///
/// Errors: shown by the input coming back unchanged, or by an empty result.

/// The module (program or DLL) that this code is linked into.
HMODULE OwnModule();

/// The module's full file name; of the host's program for null.
CString ModuleFileName(HMODULE module);

/// The module's folder, without a backslash at its end; of the host's program for null.
CString ModuleFolder(HMODULE module);

/// The folder of the loaded module with this name, or of OwnModule when there is none. A prefix
/// before the drive letter is left out.
CString GetModuleFolderPath(const CString& moduleName);

/// The text before the last backslash; empty without one.
CString TextBeforeLastBackslash(const CString& path);

/// Without its last character, if that is a backslash.
CString WithoutTrailingBackslash(const CString& path);

bool IsRelativePath(const CString& path);

/// The library does not call these two; they are for its users. The way from the base folder (the
/// current directory when it is empty) to the path; the path itself when there is none, as between
/// two drives.
CString MakeRelativePath(const CString& path, const CString& baseFolder);
CString MakeRelativePath(const char* path, const char* baseFolder);

/// The path below the base folder (the current directory when it is empty), with "." and ".."
/// resolved; an absolute path stays. The path itself when the result would be too long.
/// The form that takes CStrings reads slashes as backslashes; the other one does not.
CString MakeAbsolutePath(const CString& path, const CString& baseFolder);
CString MakeAbsolutePath(const char* path, const char* baseFolder);

}  // namespace Terrascope

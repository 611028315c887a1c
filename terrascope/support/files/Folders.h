#pragma once

#include <afx.h>

#include <list>

namespace Terrascope {

/// Files and folders on the disk. Paths are narrow, in the active code page, with backslashes. The
/// library does not call these; they are for its users.
///
/// Threads: FindFiles and ListSubdirectories change the process's current directory while they
///          run: one thread at a time, and not beside code that uses relative paths.
/// Errors:  shown as false or as an empty list; nothing is thrown.

bool IsDirectory(const CString& path);

/// Makes the folder and those above it. True when it exists at the end, and for a name without a
/// backslash, of which nothing is made.
bool CreateDirectories(const CString& path);

/// Deletes a file, a read-only one too.
bool ForceDeleteFile(const CString& path);

/// Deletes a folder with all that is in it, without questions; true when it does not exist (any
/// more). Paths of 259 bytes and more are refused. A link in it, or in its place, is deleted
/// itself, and what it leads to stays; false, with the files left, where the system cannot do that
/// (Wine).
bool DeleteFolder(const CString& path);

/// Appends the full paths of the files in the folder and all folders below it, depth first, in the
/// order of discovery. With extensions (without the full stop, case ignored) only files that have
/// one of them. With `includeFolders` each folder comes before what it holds. A link to a folder is
/// a folder with nothing in it here.
void FindFiles(const CString& folder, const std::list<CString>& extensions,
               std::list<CString>& result, bool includeFolders);

/// The names of the folders in the folder. A folder whose name ends with a full stop is left out.
std::list<CString> ListSubdirectories(const CString& folder);

}  // namespace Terrascope

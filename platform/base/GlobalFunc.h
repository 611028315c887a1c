#pragma once

#include <windows.h>

/// Small functions that all modules of the maker share.
namespace GlobalFunc {

/// Writes the folder of a module's file, with a backslash at its end, into `buffer` of `size`
/// bytes. Null is the program itself. False, and an empty text, when it does not fit.
bool GetModulePath(HMODULE module, char* buffer, unsigned size);

/// Makes sure that a folder exists: true when it does at the end. Its parent must exist.
bool IsDirectoryCreated(const char* path);

}  // namespace GlobalFunc

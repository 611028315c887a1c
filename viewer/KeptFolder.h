#pragma once

#include <string>

namespace Viewer {

/// The folder for what is kept of an address, made when it is missing: `wanted`, or without that
/// %LOCALAPPDATA%\Terrascope\Viewer\<FolderNameOf the address>. Absolute; empty when it cannot be
/// made, when its path has letters beyond the program's code page, or when "-" is wanted.
std::string MakeKeptFolder(const std::string& address, const std::string& wanted);

}  // namespace Viewer

#pragma once

#include <windows.h>

#include <string>

namespace Terrascope::Plugins {

/// What an error of WinHTTP means, for the log: ASCII. Empty: its number alone has to do.
std::string WordsOf(DWORD error);

/// Whether it is about the encryption of a connection, and so not about the way to the server.
bool IsOfEncryption(DWORD error);

}  // namespace Terrascope::Plugins

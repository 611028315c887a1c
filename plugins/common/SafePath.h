#pragma once

#include <afx.h>

#include <optional>
#include <string>
#include <string_view>

namespace Terrascope::Plugins {

/// Paths are handled as UTF-16 here: in some active code pages a byte of a character looks like a
/// backslash.

/// A text of the active code page as UTF-16; nothing when it is not valid there.
std::optional<std::wstring> ToWide(std::string_view text);

/// The other way; nothing when the active code page lacks a character.
std::optional<CString> ToNarrow(const std::wstring& text);

/// Whether a file may have the name on every system: it is not empty, does not end in a blank or
/// full stop, has no character that means something else, and is no device's.
bool IsPlainName(std::wstring_view name);

/// folder + "\\" + relative, with slashes turned into backslashes, if `relative` names something
/// under the folder in the plainest way; nothing otherwise. Refused are: an empty or absolute
/// path, a drive or stream (":"), "." and "..", names that end in a blank or full stop, wild
/// cards, control characters, and the names of devices ("con", "nul.txt").
/// The file system is not asked, so links within the folder are followed later.
std::optional<std::wstring> JoinUnder(const std::wstring& folder, std::string_view relative);

}  // namespace Terrascope::Plugins

#pragma once

#include <afx.h>

#include <string>
#include <string_view>

namespace Terrascope {

/// Byte work on texts in the active code page, where the second byte of a character may look like
/// a backslash, a bracket or a letter. All offsets and lengths are bytes.

/// The bytes of a string, without a copy; valid as long as the string is left alone.
inline std::string_view ViewOf(const CString& text) {
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}
inline CString ToCString(std::string_view text) {
    return CString(text.data(), static_cast<int>(text.size()));
}

/// Bytes that the character at `offset` takes: 1 or 2, and never past the end. Requires: an offset
/// before the text's end.
std::size_t CharacterBytes(std::string_view text, std::size_t offset);

/// The first and the last place of a one-byte character at or after `from`; npos when there is
/// none. Second bytes of two-byte characters do not count.
std::size_t FindCharacter(std::string_view text, char wanted, std::size_t from = 0);
std::size_t FindLastCharacter(std::string_view text, char wanted);

/// Whether a character starts at `offset` (or the text ends there).
bool IsCharacterStart(std::string_view text, std::size_t offset);

bool EndsWithCharacter(std::string_view text, char wanted);

/// Without blank, tab, CR, LF, vertical tab and form feed at the right, or at both ends.
std::string_view TrimmedRight(std::string_view text);
std::string_view Trimmed(std::string_view text);

/// The text with small letters for capital ones: the ASCII letters, and the two-byte letters of the
/// active code page. Two texts have the same form exactly when CString::CompareNoCase calls them
/// equal; so this is the form to search and to sort by.
std::string FoldCase(std::string_view text);

/// Each backslash that is followed by n, r or t becomes, with that letter, a line feed, a carriage
/// return or a tab.
CString ReplaceEscapes(const CString& text);

}  // namespace Terrascope

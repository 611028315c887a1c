#pragma once

#include <afx.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Terrascope::Plugins {

/// Texts that come out of files and servers, on their way to the records and the log.

/// UTF-8 as UTF-16; bytes that are not valid become U+FFFD.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

/// UTF-8 in the active code page: what it lacks becomes a question mark or a letter alike, control
/// characters other than the line feed become blanks, and no more than `limit` bytes are kept, cut
/// between characters.
CString NarrowFromUtf8(std::string_view text, std::size_t limit);

/// The text that HTML shows: without tags, with its named and numbered characters (the few that
/// occur in notices of rights), and with single blanks. UTF-8 in, UTF-8 out.
std::string TextOfHtml(std::string_view html);

/// A number with a full stop for the decimals, whatever the locale; blanks around it do not count.
/// Nothing for any other text, an infinite value, and for one that is out of the type's range.
std::optional<double> ParseReal(std::string_view text);
std::optional<std::int64_t> ParseWhole(std::string_view text);

/// Numbers between commas; nothing when one of them is none.
std::optional<std::vector<double>> ParseReals(std::string_view text);

}  // namespace Terrascope::Plugins

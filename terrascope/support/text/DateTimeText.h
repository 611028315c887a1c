#pragma once

#include <afx.h>

#include <optional>
#include <string_view>

namespace Terrascope {

/// Times as texts in local time: "year-month-day hour:minute:second", as strftime takes it.
inline constexpr char kDateTimeForm[] = "%Y-%m-%d %H:%M:%S";

/// The number at the start of a text, as atoi reads it; 0 without one, the nearest value when it
/// is too large. Requires: the text is not null.
int LeadingInteger(const char* text);

/// Cuts a text at separators, from left to right, into numbers as LeadingInteger reads them. Each
/// number is read from its own field only: an empty field is 0, whatever follows it.
///
/// Borrows: the text.
class CNumberFields {
public:
    explicit CNumberFields(const CString& text);

    /// The field up to the next separator, which is skipped; nothing when there is none, and from
    /// then on.
    std::optional<int> Before(char separator);
    /// All that is left.
    int Rest() const;

private:
    std::optional<std::string_view> m_rest;
};

/// Reads "year-month-day hour:minute:second", with `dateOnly` "year-month-day" (midnight, without
/// daylight saving), with `timeOnly` "hour:minute:second" (of today). Fields have any width, and
/// what follows a field's digits is passed over.
///
/// The library does not call it; it is for its users. False, with the result left alone, when a
/// separator is missing or both flags are set. Fields that make no time are no format error: what
/// CTime's constructor throws reaches the caller.
bool ParseDateTime(const CString& text, CTime& result, bool dateOnly, bool timeOnly);

}  // namespace Terrascope

#pragma once

#include <afx.h>

#include <cstdint>
#include <stdexcept>

namespace Terrascope {

/// Time values are whole seconds since 1970-01-01 00:00:00 UTC. Texts are local time.

/// A field is out of range: a year before 1970, a month or day that no calendar has, an hour above
/// 23, a minute or second above 59.
class CDateTimeRangeError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The calendar has no such time: before 1970 or after 3000 in UTC.
class CDateTimeCalendarError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The parts of a local time as they stand in a text; month and day count from 1.
struct LocalDateTime {
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

enum class DaylightSaving { Off, AskTheSystem };

/// A day that the month does not have runs over into the next one (30 February is 1 or 2 March).
/// Throws CDateTimeRangeError and CDateTimeCalendarError.
std::int64_t SecondsFromLocal(const LocalDateTime& local,
                              DaylightSaving daylightSaving = DaylightSaving::AskTheSystem);

/// "%Y-%m-%d %H:%M:%S" in local time; empty for a value that the calendar does not hold.
CString FormatDateTime(std::int64_t seconds);

/// The number at the start of a text, as atoi reads it; 0 without one, the nearest value when it
/// is too large.
int LeadingInteger(const char* text);

/// Reads "year-month-day hour:minute:second", with `dateOnly` "year-month-day" (midnight, without
/// daylight saving), with `timeOnly` "hour:minute:second" (of today). Fields have any width, and
/// what follows a field's digits is passed over.
///
/// False, with the result left alone, when a separator is missing or both flags are set.
/// Throws as SecondsFromLocal does: a field out of range is no format error.
bool ParseDateTime(const CString& text, std::int64_t& result, bool dateOnly, bool timeOnly);

}  // namespace Terrascope

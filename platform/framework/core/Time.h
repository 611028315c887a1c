#pragma once

#include <compare>
#include <cstdint>
#include <ctime>

#include "String.h"

// An old alias of GetTickCount; it would rename CTime::GetCurrentTime.
#undef GetCurrentTime

/// A moment, made from and shown as local time.
///
/// Units:   signed seconds since 1970-01-01 00:00:00 UTC.
/// Threads: any; a value.
/// Errors:  only the constructor from fields throws.
class FRAMEWORK_API CTime {
public:
    CTime() = default;
    explicit CTime(std::int64_t seconds) : m_time(seconds) {}

    /// From local fields; month and day count from 1. `nDST` 0: standard time, above 0: daylight
    /// saving, below: as the system decides. A day that its month lacks runs over into the next
    /// one (30 February is 1 or 2 March).
    ///
    /// Throws COleException with E_FAIL for a field out of range: a year before 1970, a month or
    /// day that no calendar has, an hour outside 0..23, a minute or second outside 0..59; and
    /// CInvalidArgException for a time that the calendar lacks: before 1970 or after 3000 in UTC.
    CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST = -1);

    static CTime GetCurrentTime();

    std::int64_t GetTime() const { return m_time; }

    /// The local date; 0 for a time that the calendar lacks.
    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;

    /// The local time in the form that strftime takes, up to 127 bytes; empty when it is longer or
    /// the calendar lacks the time.
    CString Format(LPCSTR format) const;

    friend bool operator==(const CTime&, const CTime&) = default;
    friend std::strong_ordering operator<=>(const CTime&, const CTime&) = default;

private:
    bool LocalFields(std::tm& fields) const;

    std::int64_t m_time = 0;
};

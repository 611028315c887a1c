#pragma once

#include <cstdint>
#include <ctime>

#include "String.h"

/// A moment: signed seconds since 1970-01-01 00:00:00 UTC, read and shown as local time.
class FRAMEWORK_API CTime {
public:
    CTime() = default;
    explicit CTime(std::int64_t seconds) : m_time(seconds) {}

    /// From local calendar fields; `dst` 0: standard time, above 0: daylight saving, -1: as the
    /// system decides. Fields out of range (year before 1970, month 1..12, day 1..31, hour 0..23,
    /// minute and second 0..59) throw COleException with E_FAIL;
    /// a time that the calendar conversion rejects throws CInvalidArgException.
    CTime(int year, int month, int day, int hour, int minute, int second, int dst = -1);

    static CTime GetCurrentTime();

    std::int64_t GetTime() const { return m_time; }
    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;

    /// Local time in the form of strftime; empty for a time that has no local form.
    CString Format(LPCSTR format) const;

    friend bool operator==(const CTime&, const CTime&) = default;
    friend auto operator<=>(const CTime&, const CTime&) = default;

private:
    bool LocalTime(std::tm& fields) const;

    std::int64_t m_time = 0;
};

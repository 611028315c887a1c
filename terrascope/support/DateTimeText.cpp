#include "terrascope/support/DateTimeText.h"

#include <cstdlib>
#include <ctime>
#include <string>

#include "terrascope/support/MultibyteText.h"

namespace Terrascope {

namespace {

constexpr std::int64_t kLastSecond = 32535215999;  // 3000-12-31 23:59:59 UTC

/// Cuts a text into numbers, from left to right.
class FieldReader {
public:
    FieldReader(const CString& text, const char* error) : m_text(ViewOf(text)), m_error(error) {}

    void SetError(const char* error) { m_error = error; }

    /// The field up to the separator, which is skipped.
    int Before(char separator) {
        const std::size_t end = m_text.find(separator, m_at);
        if (end == std::string_view::npos) {
            throw std::logic_error(m_error);
        }
        const int number = Number(m_text.substr(m_at, end - m_at));
        m_at = end + 1;
        return number;
    }

    int Rest() const { return Number(m_text.substr(m_at)); }

private:
    static int Number(std::string_view field) { return LeadingInteger(std::string(field).c_str()); }

    const std::string_view m_text;
    std::size_t m_at = 0;
    const char* m_error;
};

LocalDateTime Today() {
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    ::localtime_s(&fields, &now);
    return {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday};
}

std::int64_t Parse(const CString& text, bool dateOnly, bool timeOnly) {
    if (dateOnly && timeOnly) {
        throw std::logic_error("not allowed both to be true.");
    }
    FieldReader fields(text, "date format error!");
    LocalDateTime local;
    if (timeOnly) {
        local = Today();
    } else {
        local.year = fields.Before('-');
        local.month = fields.Before('-');
        if (dateOnly) {
            local.day = fields.Rest();
            return SecondsFromLocal(local, DaylightSaving::Off);
        }
        local.day = fields.Before(' ');
    }
    fields.SetError("time format error!");
    local.hour = fields.Before(':');
    local.minute = fields.Before(':');
    local.second = fields.Rest();
    return SecondsFromLocal(local);
}

bool IsWithin(int value, int lowest, int highest) {
    return value >= lowest && value <= highest;
}

}  // namespace

std::int64_t SecondsFromLocal(const LocalDateTime& local, DaylightSaving daylightSaving) {
    if (local.year < 1970 || !IsWithin(local.month, 1, 12) || !IsWithin(local.day, 1, 31) ||
        !IsWithin(local.hour, 0, 23) || !IsWithin(local.minute, 0, 59) ||
        !IsWithin(local.second, 0, 59)) {
        throw CDateTimeRangeError("a date or time field is out of range");
    }
    std::tm fields{};
    fields.tm_year = local.year - 1900;
    fields.tm_mon = local.month - 1;
    fields.tm_mday = local.day;
    fields.tm_hour = local.hour;
    fields.tm_min = local.minute;
    fields.tm_sec = local.second;
    fields.tm_isdst = daylightSaving == DaylightSaving::Off ? 0 : -1;
    // Run-time libraries differ in what they refuse; years beyond the calendar are not asked.
    const std::int64_t seconds = local.year > 3001 ? -1 : ::_mktime64(&fields);
    if (seconds < 0 || seconds > kLastSecond) {
        throw CDateTimeCalendarError("the calendar has no such time");
    }
    return seconds;
}

CString FormatDateTime(std::int64_t seconds) {
    char text[128] = "";
    std::tm fields{};
    const __time64_t value = seconds;
    if (seconds < 0 || seconds > kLastSecond || ::_localtime64_s(&fields, &value) != 0 ||
        std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &fields) == 0) {
        return CString();
    }
    return CString(text);
}

int LeadingInteger(const char* text) {
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

bool ParseDateTime(const CString& text, std::int64_t& result, bool dateOnly, bool timeOnly) {
    try {
        result = Parse(text, dateOnly, timeOnly);
        return true;
    } catch (const std::logic_error&) {
        return false;
    }
}

}  // namespace Terrascope

#include "terrascope/support/DateTimeText.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "terrascope/support/MultibyteText.h"

namespace Terrascope {

namespace {

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

CTime Parse(const CString& text, bool dateOnly, bool timeOnly) {
    if (dateOnly && timeOnly) {
        throw std::logic_error("not allowed both to be true.");
    }
    FieldReader fields(text, "date format error!");
    const CTime today = CTime::GetCurrentTime();
    int year = today.GetYear();
    int month = today.GetMonth();
    int day = today.GetDay();
    if (!timeOnly) {
        year = fields.Before('-');
        month = fields.Before('-');
        if (dateOnly) {
            return CTime(year, month, fields.Rest(), 0, 0, 0, 0);
        }
        day = fields.Before(' ');
    }
    fields.SetError("time format error!");
    const int hour = fields.Before(':');
    const int minute = fields.Before(':');
    return CTime(year, month, day, hour, minute, fields.Rest());
}

}  // namespace

int LeadingInteger(const char* text) {
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

bool ParseDateTime(const CString& text, CTime& result, bool dateOnly, bool timeOnly) {
    try {
        result = Parse(text, dateOnly, timeOnly);
        return true;
    } catch (const std::logic_error&) {
        return false;
    }
}

}  // namespace Terrascope

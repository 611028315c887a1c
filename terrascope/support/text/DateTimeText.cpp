#include "terrascope/support/text/DateTimeText.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

namespace {

int Number(std::string_view field) {
    return LeadingInteger(std::string(field).c_str());
}

int Required(std::optional<int> field, const char* error) {
    return field ? *field : throw std::logic_error(error);
}

CTime Parse(const CString& text, bool dateOnly, bool timeOnly) {
    if (dateOnly && timeOnly) {
        throw std::logic_error("not allowed both to be true.");
    }
    constexpr const char* kDateError = "date format error!";
    constexpr const char* kTimeError = "time format error!";
    CNumberFields fields(text);
    const CTime today = CTime::GetCurrentTime();
    int year = today.GetYear();
    int month = today.GetMonth();
    int day = today.GetDay();
    if (!timeOnly) {
        year = Required(fields.Before('-'), kDateError);
        month = Required(fields.Before('-'), kDateError);
        if (dateOnly) {
            return CTime(year, month, fields.Rest(), 0, 0, 0, 0);
        }
        day = Required(fields.Before(' '), kDateError);
    }
    const int hour = Required(fields.Before(':'), kTimeError);
    const int minute = Required(fields.Before(':'), kTimeError);
    return CTime(year, month, day, hour, minute, fields.Rest());
}

}  // namespace

int LeadingInteger(const char* text) {
    ASSERT(text != nullptr);
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

CNumberFields::CNumberFields(const CString& text) : m_rest(ViewOf(text)) {}

std::optional<int> CNumberFields::Before(char separator) {
    const std::size_t end = m_rest ? m_rest->find(separator) : std::string_view::npos;
    if (end == std::string_view::npos) {
        m_rest.reset();
        return std::nullopt;
    }
    const int number = Number(m_rest->substr(0, end));
    m_rest->remove_prefix(end + 1);
    return number;
}

int CNumberFields::Rest() const {
    return m_rest ? Number(*m_rest) : 0;
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

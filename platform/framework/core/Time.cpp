#include "Time.h"

#include "Exception.h"

CTime::CTime(int year, int month, int day, int hour, int minute, int second, int dst) {
    if (year < 1970 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 59)
        AtlThrow(E_FAIL);
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = dst;
    m_time = ::_mktime64(&fields);
    if (m_time == -1)
        AfxThrowInvalidArgException();
}

CTime CTime::GetCurrentTime() {
    return CTime(::_time64(nullptr));
}

int CTime::GetYear() const {
    std::tm fields{};
    return LocalTime(fields) ? fields.tm_year + 1900 : 0;
}

int CTime::GetMonth() const {
    std::tm fields{};
    return LocalTime(fields) ? fields.tm_mon + 1 : 0;
}

int CTime::GetDay() const {
    std::tm fields{};
    return LocalTime(fields) ? fields.tm_mday : 0;
}

CString CTime::Format(LPCSTR format) const {
    std::tm fields{};
    char text[128] = "";
    if (!LocalTime(fields) || std::strftime(text, sizeof(text), format, &fields) == 0)
        return {};
    return text;
}

bool CTime::LocalTime(std::tm& fields) const {
    const __time64_t seconds = m_time;
    return ::_localtime64_s(&fields, &seconds) == 0;
}

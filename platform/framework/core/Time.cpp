#include "Time.h"

#include "Exception.h"

namespace {

// Run-time libraries differ in what they refuse, so the calendar's bounds are checked here.
constexpr std::int64_t kLastSecond = 32535215999;  // 3000-12-31 23:59:59 UTC
constexpr int kLastLocalYear = 3001;               // where local time is ahead of UTC

bool IsWithin(int value, int lowest, int highest) {
    return value >= lowest && value <= highest;
}

bool IsInCalendar(std::int64_t seconds) {
    return seconds >= 0 && seconds <= kLastSecond;
}

}  // namespace

CTime::CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST) {
    if (nYear < 1970 || !IsWithin(nMonth, 1, 12) || !IsWithin(nDay, 1, 31) ||
        !IsWithin(nHour, 0, 23) || !IsWithin(nMin, 0, 59) || !IsWithin(nSec, 0, 59)) {
        AtlThrow(E_FAIL);
    }
    std::tm fields{};
    fields.tm_year = nYear - 1900;
    fields.tm_mon = nMonth - 1;
    fields.tm_mday = nDay;
    fields.tm_hour = nHour;
    fields.tm_min = nMin;
    fields.tm_sec = nSec;
    fields.tm_isdst = nDST;
    m_time = nYear > kLastLocalYear ? -1 : ::_mktime64(&fields);
    if (!IsInCalendar(m_time)) {
        AfxThrowInvalidArgException();
    }
}

CTime CTime::GetCurrentTime() {
    return CTime(::_time64(nullptr));
}

int CTime::GetYear() const {
    std::tm fields{};
    return LocalFields(fields) ? fields.tm_year + 1900 : 0;
}

int CTime::GetMonth() const {
    std::tm fields{};
    return LocalFields(fields) ? fields.tm_mon + 1 : 0;
}

int CTime::GetDay() const {
    std::tm fields{};
    return LocalFields(fields) ? fields.tm_mday : 0;
}

CString CTime::Format(LPCSTR format) const {
    std::tm fields{};
    char text[128] = "";
    if (!LocalFields(fields) || std::strftime(text, sizeof(text), format, &fields) == 0) {
        return CString();
    }
    return CString(text);
}

bool CTime::LocalFields(std::tm& fields) const {
    const __time64_t seconds = m_time;
    return IsInCalendar(m_time) && ::_localtime64_s(&fields, &seconds) == 0;
}

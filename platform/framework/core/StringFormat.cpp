// CString's printf-style functions.
#include <cstdio>
#include <utility>

#include "Exception.h"
#include "String.h"

void CString::Format(LPCSTR format, ...) {
    va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void CString::FormatV(LPCSTR format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    if (length < 0) {
        va_end(again);
        AfxThrowInvalidArgException();
    }
    // Into a text of its own: the arguments may point into this one.
    CString result;
    std::vsnprintf(result.GetBuffer(length), static_cast<size_t>(length) + 1, format, again);
    va_end(again);
    result.ReleaseBuffer(length);
    *this = std::move(result);
}

void CString::AppendFormat(LPCSTR format, ...) {
    CString addition;
    va_list arguments;
    va_start(arguments, format);
    addition.FormatV(format, arguments);
    va_end(arguments);
    *this += addition;
}

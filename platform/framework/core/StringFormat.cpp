// CString's formatting and its texts from resources.
#include <cstdio>
#include <utility>

#include "../module/Module.h"
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

BOOL CString::LoadString(UINT id) {
    const HINSTANCE module = AfxFindResourceHandle(MAKEINTRESOURCEA((id >> 4) + 1), RT_STRING);
    return LoadString(module, id);
}

BOOL CString::LoadString(HINSTANCE module, UINT id) {
    LPCWSTR text = nullptr;
    // With a size of 0 the call gives the resource itself and its length, without a terminator.
    const int length = ::LoadStringW(module, id, reinterpret_cast<LPWSTR>(&text), 0);
    if (length <= 0)
        return FALSE;
    *this = CString(text, length);
    return TRUE;
}

#pragma once

#include <afx.h>

#include <list>
#include <memory>

namespace Terrascope {

/// Texts between the active code page, UTF-16 and UTF-8, and their small change. Where the result
/// is a plain array, the caller frees it with delete[]. The library calls StringToWide;
/// the rest is for its users.
///
/// Errors: null (or an empty handle) when memory is short or the input is null.

/// The string's bytes and a zero byte.
char* StringToNewBuffer(const CString& text);

char* WideToAnsi(const wchar_t* text);
wchar_t* AnsiToWide(const char* text);
wchar_t* StringToWide(const CString& text);
std::shared_ptr<wchar_t[]> Utf8ToWide(const char* text);
std::shared_ptr<char[]> Utf8ToAnsi(const char* text);

bool EndsWithNoCase(const CString& text, const CString& suffix);

/// An optional sign, then digits with at most one full stop. Nothing, a lone sign and a lone full
/// stop count as numeric, an exponent does not.
bool IsNumeric(const CString& text);

/// The parts between delimiters, in order, without the empty ones.
std::list<CString> SplitString(const CString& text, char delimiter);

/// A new GUID as "{01234567-89AB-CDEF-0123-456789ABCDEF}"; empty when none could be made.
CString CreateGuidString();

/// Empty when the system has none.
CString GetLocalComputerName();

}  // namespace Terrascope

#include "terrascope/support/text/TextConvert.h"

#include <objbase.h>

#include <algorithm>
#include <cwchar>
#include <new>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

namespace {

template <typename T>
T* NewZeroed(int count) {
    return new (std::nothrow) T[static_cast<std::size_t>(count)]();
}

}  // namespace

char* StringToNewBuffer(const CString& text) {
    char* buffer = NewZeroed<char>(text.GetLength() + 1);
    if (buffer != nullptr) {
        std::copy_n(text.GetString(), text.GetLength(), buffer);
    }
    return buffer;
}

char* WideToAnsi(const wchar_t* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const int size = ::WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    char* result = NewZeroed<char>(size + 1);
    if (result != nullptr) {
        ::WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(std::wcslen(text)), result, size,
                              nullptr, nullptr);
    }
    return result;
}

wchar_t* AnsiToWide(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const int size = ::MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    wchar_t* result = NewZeroed<wchar_t>(size + 1);
    if (result != nullptr) {
        ::MultiByteToWideChar(CP_ACP, 0, text, -1, result, size);
    }
    return result;
}

wchar_t* StringToWide(const CString& text) {
    return AnsiToWide(text.GetString());
}

std::shared_ptr<wchar_t[]> Utf8ToWide(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const auto bytes = static_cast<int>(std::char_traits<char>::length(text));
    const int size = bytes > 0 ? ::MultiByteToWideChar(CP_UTF8, 0, text, bytes, nullptr, 0) : 0;
    std::shared_ptr<wchar_t[]> result(NewZeroed<wchar_t>(size + 1));
    if (result != nullptr && size > 0) {
        ::MultiByteToWideChar(CP_UTF8, 0, text, bytes, result.get(), size);
    }
    return result;
}

std::shared_ptr<char[]> Utf8ToAnsi(const char* text) {
    return std::shared_ptr<char[]>(WideToAnsi(Utf8ToWide(text).get()));
}

bool EndsWithNoCase(const CString& text, const CString& suffix) {
    const std::string_view whole = ViewOf(text);
    const std::string_view end = ViewOf(suffix);
    if (end.size() > whole.size()) {
        return false;
    }
    const std::size_t start = whole.size() - end.size();
    return IsCharacterStart(whole, start) && FoldCase(whole.substr(start)) == FoldCase(end);
}

bool IsNumeric(const CString& text) {
    std::string_view digits = ViewOf(text);
    if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
        digits.remove_prefix(1);
    }
    return std::count(digits.begin(), digits.end(), '.') <= 1 &&
           digits.find_first_not_of("0123456789.") == std::string_view::npos;
}

std::list<CString> SplitString(const CString& text, char delimiter) {
    std::list<CString> parts;
    std::string_view rest = ViewOf(text);
    while (!rest.empty()) {
        const std::size_t end = std::min(FindCharacter(rest, delimiter), rest.size());
        if (end > 0) {
            parts.push_back(ToCString(rest.substr(0, end)));
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return parts;
}

CString CreateGuidString() {
    GUID guid{};
    CString text;
    if (SUCCEEDED(::CoCreateGuid(&guid))) {
        const BYTE* d = guid.Data4;
        text.Format("{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
                    guid.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    }
    return text;
}

CString GetLocalComputerName() {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = "";
    DWORD size = sizeof(name);
    return ::GetComputerNameA(name, &size) ? CString(name) : CString();
}

}  // namespace Terrascope

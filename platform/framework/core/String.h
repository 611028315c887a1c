#pragma once

#include <atomic>
#include <compare>
#include <cstdarg>

#include "../Export.h"
#include "Windows.h"

/// A narrow string in the active code page. It is one pointer; copies share their text until one
/// of them changes. It cannot pass through `...`: hand over `GetString()`.
///
/// Units:   positions and lengths are bytes. Searching, trimming and letter case walk whole
///          characters, so a trail byte never matches (0x5C is one in code page 936).
/// Threads: one object per thread at a time; objects that share a text may be in several.
/// Errors:  no memory throws CMemoryException, an index outside the text COleException
///          (E_INVALIDARG). A null pointer counts as an empty text.
class FRAMEWORK_API CString {
public:
    CString() noexcept;
    CString(const CString& other) noexcept;
    CString(CString&& other) noexcept;
    CString(LPCSTR text);
    CString(LPCSTR text, int length);
    explicit CString(char character, int count = 1);
    /// Characters that the active code page lacks become its default character.
    explicit CString(LPCWSTR text);
    CString(LPCWSTR text, int length);
    ~CString();

    CString& operator=(const CString& other) noexcept;
    CString& operator=(CString&& other) noexcept;
    CString& operator=(LPCSTR text);
    CString& operator=(LPCWSTR text);
    CString& operator=(char character);

    int GetLength() const noexcept { return GetData()->length; }
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    void Empty() noexcept;
    LPCSTR GetString() const noexcept { return m_text; }
    operator LPCSTR() const noexcept { return m_text; }

    /// `index` may be the length: the terminator.
    char GetAt(int index) const;
    char operator[](int index) const { return GetAt(index); }
    void SetAt(int index, char character);

    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    /// Position of the first match at or after `start`, -1 when there is none.
    int Find(char character, int start = 0) const;
    int Find(LPCSTR text, int start = 0) const;
    int ReverseFind(char character) const;

    /// Negative, zero or positive. Byte order; NoCase takes small letters for capital ones: of
    /// ASCII, and of the two-byte letters of the active code page. MakeLower makes the same ones
    /// small, so that two texts are equal after it exactly when CompareNoCase is zero.
    int Compare(LPCSTR other) const;
    int CompareNoCase(LPCSTR other) const;

    CString& MakeLower();

    /// Both ends, left or right; of white space, of one character, or of any in a set.
    CString& Trim();
    CString& Trim(char character);
    CString& Trim(LPCSTR characters);
    CString& TrimLeft();
    CString& TrimLeft(char character);
    CString& TrimLeft(LPCSTR characters);
    CString& TrimRight();
    CString& TrimRight(char character);
    CString& TrimRight(LPCSTR characters);

    /// The arguments may point into this string.
    void Format(LPCSTR format, ...) FRAMEWORK_PRINTF(2, 3);
    void FormatV(LPCSTR format, va_list arguments);
    void AppendFormat(LPCSTR format, ...) FRAMEWORK_PRINTF(2, 3);

    /// These return how many occurrences were replaced.
    int Replace(char from, char to);
    int Replace(LPCSTR from, LPCSTR to);
    /// These return the new length. A position past the end counts as the end.
    int Insert(int index, LPCSTR text);
    int Insert(int index, char character);
    int Delete(int index, int count = 1);

    void Append(LPCSTR text);
    void Append(LPCSTR text, int length);
    void AppendChar(char character);
    CString& operator+=(const CString& other);
    CString& operator+=(LPCSTR text);
    CString& operator+=(char character);

    /// A writable, unshared buffer for at least `minLength` characters and the terminator. Call
    /// ReleaseBuffer before anything else; -1 takes the length up to the first zero.
    LPSTR GetBuffer(int minLength = 0);
    LPSTR GetBufferSetLength(int length);
    void ReleaseBuffer(int newLength = -1);

    friend bool operator==(const CString& a, const CString& b) { return a.Compare(b) == 0; }
    friend bool operator==(const CString& a, LPCSTR b) { return a.Compare(b) == 0; }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) {
        return a.Compare(b) <=> 0;
    }
    friend std::strong_ordering operator<=>(const CString& a, LPCSTR b) {
        return a.Compare(b) <=> 0;
    }
    friend FRAMEWORK_API CString operator+(const CString& a, const CString& b);
    friend FRAMEWORK_API CString operator+(const CString& a, LPCSTR b);
    friend FRAMEWORK_API CString operator+(LPCSTR a, const CString& b);
    friend FRAMEWORK_API CString operator+(const CString& a, char b);
    friend FRAMEWORK_API CString operator+(char a, const CString& b);

private:
    struct Header {
        std::atomic<int> references;
        int length;
        int capacity;
    };

    Header* GetData() const noexcept { return reinterpret_cast<Header*>(m_text) - 1; }
    static LPSTR Allocate(int capacity);
    static CString Join(LPCSTR a, int lengthA, LPCSTR b, int lengthB);
    void Release() noexcept;
    void Assign(LPCSTR text, int length);
    void AssignWide(LPCWSTR text, int length);
    void SetLength(int length) noexcept;

    LPSTR m_text;
};

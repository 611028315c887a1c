// CString's operations that look at characters: slices, searches, comparisons, case, editing.
#include <mbstring.h>

#include <algorithm>
#include <cstring>

#include "Exception.h"
#include "String.h"

namespace {

int LengthOf(LPCSTR text) {
    return text != nullptr ? static_cast<int>(std::strlen(text)) : 0;
}

/// The length in bytes of the character at `p`, which is not the terminator.
int CharacterLength(LPCSTR p) {
    const auto byte = static_cast<BYTE>(*p);
    return byte >= 0x80 && ::IsDBCSLeadByte(byte) && p[1] != '\0' ? 2 : 1;
}

/// The character at `p`, or its small letter when it is a capital one: of the ASCII letters, and of
/// the two-byte ones that the code page has a small letter for. Zero at the terminator.
unsigned FoldedCharacter(LPCSTR p) {
    const auto byte = static_cast<BYTE>(*p);
    if (CharacterLength(p) == 1) {
        return byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte;
    }
    const unsigned capital = byte * 256U + static_cast<BYTE>(p[1]);
    const unsigned small = _mbctolower(capital);
    // Damaged pairs, and letters whose small one is missing, come back as question marks.
    return ::IsDBCSLeadByte(static_cast<BYTE>(small / 256)) ? small : capital;
}

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsIn(LPCSTR set, LPCSTR character, int length) {
    for (LPCSTR p = set; p != nullptr && *p != '\0'; p += CharacterLength(p)) {
        if (CharacterLength(p) == length &&
            std::memcmp(p, character, static_cast<size_t>(length)) == 0) {
            return true;
        }
    }
    return false;
}

/// Where the text begins without the leading characters that `drop` names.
template <class Drop>
int LeadingEnd(LPCSTR text, Drop drop) {
    LPCSTR p = text;
    while (*p != '\0' && drop(p, CharacterLength(p))) {
        p += CharacterLength(p);
    }
    return static_cast<int>(p - text);
}

/// Where the text ends without the trailing ones; found from its start, for a trail byte cannot be
/// recognised from behind.
template <class Drop>
int TrailingStart(LPCSTR text, Drop drop) {
    int end = 0;
    for (LPCSTR p = text; *p != '\0'; p += CharacterLength(p)) {
        if (!drop(p, CharacterLength(p))) {
            end = static_cast<int>(p - text) + CharacterLength(p);
        }
    }
    return end;
}

bool DropSpace(LPCSTR p, int length) {
    return length == 1 && IsSpace(*p);
}

}  // namespace

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Right(int count) const {
    return Mid(std::max(0, GetLength() - std::max(count, 0)));
}

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    first = std::clamp(first, 0, GetLength());
    count = std::clamp(count, 0, GetLength() - first);
    if (first == 0 && count == GetLength()) {
        return *this;
    }
    return {m_text + first, count};
}

int CString::Find(char character, int start) const {
    const char text[] = {character, '\0'};
    return character == '\0' ? -1 : Find(text, start);
}

// Not by _mbsstr, which also finds a match that begins with a trail byte.
int CString::Find(LPCSTR text, int start) const {
    if (text == nullptr || start < 0 || start > GetLength()) {
        return -1;
    }
    const size_t length = std::strlen(text);
    LPCSTR p = m_text + start;
    while (std::strncmp(p, text, length) != 0) {
        if (*p == '\0') {
            return -1;
        }
        p += CharacterLength(p);
    }
    return static_cast<int>(p - m_text);
}

int CString::ReverseFind(char character) const {
    // Not by _mbsrchr, which steps over the terminator of a text that ends within a character.
    int found = -1;
    for (LPCSTR p = m_text; *p != '\0'; p += CharacterLength(p)) {
        if (*p == character && CharacterLength(p) == 1) {
            found = static_cast<int>(p - m_text);
        }
    }
    return found;
}

int CString::Compare(LPCSTR other) const {
    return std::strcmp(m_text, other != nullptr ? other : "");
}

int CString::CompareNoCase(LPCSTR other) const {
    // Not by _mbsicmp, which steps over the terminators of texts that end within a character.
    LPCSTR a = m_text;
    LPCSTR b = other != nullptr ? other : "";
    for (;; a += CharacterLength(a), b += CharacterLength(b)) {
        const unsigned left = FoldedCharacter(a);
        const unsigned right = FoldedCharacter(b);
        if (left != right) {
            return left < right ? -1 : 1;
        }
        if (left == 0) {
            return 0;
        }
    }
}

CString& CString::MakeLower() {
    if (IsEmpty()) {
        return *this;
    }
    const LPSTR text = GetBuffer();
    for (LPSTR p = text; p < text + GetLength(); p += CharacterLength(p)) {
        const unsigned folded = FoldedCharacter(p);
        if (CharacterLength(p) == 2) {
            p[0] = static_cast<char>(folded / 256);
            p[1] = static_cast<char>(folded % 256);
        } else {
            *p = static_cast<char>(folded);
        }
    }
    return *this;
}

CString& CString::Trim() {
    return TrimRight().TrimLeft();
}

CString& CString::Trim(char character) {
    return TrimRight(character).TrimLeft(character);
}

CString& CString::Trim(LPCSTR characters) {
    return TrimRight(characters).TrimLeft(characters);
}

CString& CString::TrimLeft() {
    return *this = Mid(LeadingEnd(m_text, DropSpace));
}

CString& CString::TrimLeft(char character) {
    const char set[] = {character, '\0'};
    return TrimLeft(set);
}

CString& CString::TrimLeft(LPCSTR characters) {
    return *this = Mid(LeadingEnd(
               m_text, [&](LPCSTR p, int length) { return IsIn(characters, p, length); }));
}

CString& CString::TrimRight() {
    return *this = Left(TrailingStart(m_text, DropSpace));
}

CString& CString::TrimRight(char character) {
    const char set[] = {character, '\0'};
    return TrimRight(set);
}

CString& CString::TrimRight(LPCSTR characters) {
    return *this = Left(TrailingStart(
               m_text, [&](LPCSTR p, int length) { return IsIn(characters, p, length); }));
}

int CString::Replace(char from, char to) {
    const char old[] = {from, '\0'};
    const char fresh[] = {to, '\0'};
    return Replace(old, fresh);
}

int CString::Replace(LPCSTR from, LPCSTR to) {
    const int fromLength = LengthOf(from);
    if (fromLength == 0) {
        return 0;
    }
    CString result;
    int count = 0;
    int start = 0;
    for (int at = Find(from); at >= 0; at = Find(from, start)) {
        result.Append(m_text + start, at - start);
        result.Append(to, LengthOf(to));
        start = at + fromLength;
        ++count;
    }
    if (count > 0) {
        result.Append(m_text + start, GetLength() - start);
        *this = std::move(result);
    }
    return count;
}

int CString::Insert(int index, LPCSTR text) {
    index = std::clamp(index, 0, GetLength());
    *this = Left(index) + text + Mid(index);
    return GetLength();
}

int CString::Insert(int index, char character) {
    const char text[] = {character, '\0'};
    return Insert(index, text);
}

int CString::Delete(int index, int count) {
    index = std::clamp(index, 0, GetLength());
    count = std::clamp(count, 0, GetLength() - index);
    if (count > 0) {
        *this = Left(index) + Mid(index + count);
    }
    return GetLength();
}

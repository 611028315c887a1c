#include "String.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "Exception.h"

namespace {

int LengthOf(LPCSTR text) {
    return text == nullptr ? 0 : static_cast<int>(strlen(text));
}

}  // namespace

/// The shared empty text; its count is never touched.
static constinit struct {
    int header[3];
    char text[sizeof(int)];
} emptyText = {{1, 0, 0}, {0}};

LPSTR CString::Allocate(int capacity) {
    static_assert(sizeof(Header) == sizeof emptyText.header);
    if (capacity < 0 || capacity > std::numeric_limits<int>::max() - 64) {
        AfxThrowMemoryException();
    }
    void* block = malloc(sizeof(Header) + static_cast<size_t>(capacity) + 1);
    if (block == nullptr) {
        AfxThrowMemoryException();
    }
    auto* header = new (block) Header{1, 0, capacity};
    auto* text = reinterpret_cast<LPSTR>(header + 1);
    text[0] = '\0';
    return text;
}

void CString::Release() noexcept {
    if (m_text != emptyText.text && GetData()->references.fetch_sub(1) == 1) {
        free(GetData());
    }
}

void CString::SetLength(int length) noexcept {
    if (m_text != emptyText.text) {
        GetData()->length = length;
        m_text[length] = '\0';
    }
}

void CString::Assign(LPCSTR text, int length) {
    if (length <= 0 || text == nullptr) {
        Empty();
        return;
    }
    const bool fits = GetData()->references == 1 && GetData()->capacity >= length;
    if (fits && m_text != emptyText.text) {
        memmove(m_text, text, static_cast<size_t>(length));
        SetLength(length);
        return;
    }
    // The old text is given up last: the new one may be a part of it.
    const LPSTR fresh = Allocate(length);
    memcpy(fresh, text, static_cast<size_t>(length));
    Release();
    m_text = fresh;
    SetLength(length);
}

void CString::AssignWide(LPCWSTR text, int length) {
    if (text == nullptr || length <= 0) {
        Empty();
        return;
    }
    const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
    const LPSTR buffer = GetBuffer(size);
    WideCharToMultiByte(CP_ACP, 0, text, length, buffer, size, nullptr, nullptr);
    ReleaseBuffer(size);
}

CString::CString() noexcept : m_text(emptyText.text) {}

CString::CString(const CString& other) noexcept : m_text(other.m_text) {
    if (m_text != emptyText.text) {
        GetData()->references.fetch_add(1);
    }
}

CString::CString(CString&& other) noexcept : m_text(std::exchange(other.m_text, emptyText.text)) {}

CString::CString(LPCSTR text) : CString() {
    Assign(text, LengthOf(text));
}

CString::CString(LPCSTR text, int length) : CString() {
    Assign(text, length);
}

CString::CString(char character, int count) : CString() {
    if (count > 0) {
        memset(GetBuffer(count), character, static_cast<size_t>(count));
        SetLength(count);
    }
}

CString::CString(LPCWSTR text) : CString() {
    *this = text;
}

CString::CString(LPCWSTR text, int length) : CString() {
    AssignWide(text, length);
}

CString::~CString() {
    Release();
}

CString& CString::operator=(const CString& other) noexcept {
    if (m_text != other.m_text) {
        CString copy(other);
        std::swap(m_text, copy.m_text);
    }
    return *this;
}

CString& CString::operator=(CString&& other) noexcept {
    std::swap(m_text, other.m_text);
    return *this;
}

CString& CString::operator=(LPCSTR text) {
    Assign(text, LengthOf(text));
    return *this;
}

CString& CString::operator=(LPCWSTR text) {
    AssignWide(text, text == nullptr ? 0 : static_cast<int>(wcslen(text)));
    return *this;
}

CString& CString::operator=(char character) {
    Assign(&character, 1);
    return *this;
}

void CString::Empty() noexcept {
    Release();
    m_text = emptyText.text;
}

char CString::GetAt(int index) const {
    if (index < 0 || index > GetLength()) {
        AtlThrow(E_INVALIDARG);
    }
    return m_text[index];
}

void CString::SetAt(int index, char character) {
    if (index < 0 || index >= GetLength()) {
        AtlThrow(E_INVALIDARG);
    }
    GetBuffer()[index] = character;
}

LPSTR CString::GetBuffer(int minLength) {
    const int length = GetLength();
    const int wanted = std::max(minLength, length);
    if (m_text == emptyText.text || GetData()->references != 1 || GetData()->capacity < wanted) {
        const bool grows = m_text != emptyText.text && wanted > GetData()->capacity;
        const int room = grows ? std::max(wanted, length + std::min(length / 2, 1 << 20)) : wanted;
        const LPSTR fresh = Allocate(room);
        memcpy(fresh, m_text, static_cast<size_t>(length) + 1);
        Release();
        m_text = fresh;
        SetLength(length);
    }
    return m_text;
}

LPSTR CString::GetBufferSetLength(int length) {
    GetBuffer(length);
    SetLength(length);
    return m_text;
}

void CString::ReleaseBuffer(int newLength) {
    if (newLength < 0) {
        newLength = static_cast<int>(strnlen(m_text, static_cast<size_t>(GetData()->capacity)));
    }
    if (newLength > GetData()->capacity) {
        AtlThrow(E_INVALIDARG);
    }
    SetLength(newLength);
}

void CString::Append(LPCSTR text) {
    Append(text, LengthOf(text));
}

void CString::Append(LPCSTR text, int length) {
    if (text == nullptr || length <= 0) {
        return;
    }
    const int old = GetLength();
    if (length > std::numeric_limits<int>::max() - 64 - old) {
        AfxThrowMemoryException();
    }
    CString keep;
    if (text >= m_text && text <= m_text + old) {
        keep = *this;  // the appended text is a part of this one
    }
    const LPSTR buffer = GetBuffer(old + length);
    memcpy(buffer + old, text, static_cast<size_t>(length));
    SetLength(old + length);
}

void CString::AppendChar(char character) {
    Append(&character, 1);
}

CString& CString::operator+=(const CString& other) {
    Append(other.m_text, other.GetLength());
    return *this;
}

CString& CString::operator+=(LPCSTR text) {
    Append(text);
    return *this;
}

CString& CString::operator+=(char character) {
    AppendChar(character);
    return *this;
}

CString CString::Join(LPCSTR a, int lengthA, LPCSTR b, int lengthB) {
    CString result;
    result.GetBuffer(lengthA + lengthB);
    result.Append(a, lengthA);
    result.Append(b, lengthB);
    return result;
}

CString operator+(const CString& a, const CString& b) {
    return CString::Join(a, a.GetLength(), b, b.GetLength());
}

CString operator+(const CString& a, LPCSTR b) {
    return CString::Join(a, a.GetLength(), b, LengthOf(b));
}

CString operator+(LPCSTR a, const CString& b) {
    return CString::Join(a, LengthOf(a), b, b.GetLength());
}

CString operator+(const CString& a, char b) {
    return CString::Join(a, a.GetLength(), &b, 1);
}

CString operator+(char a, const CString& b) {
    return CString::Join(&a, 1, b, b.GetLength());
}

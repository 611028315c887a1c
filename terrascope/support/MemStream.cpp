#include "terrascope/support/MemStream.h"

#include <objbase.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Terrascope {

/// A memory file: bytes and one position, which may be past the end. 32-bit offsets, as the
/// stream's positions are.
class CMemStream::Store {
public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { std::free(m_data); }

    std::uint64_t Length() const { return m_length; }
    std::uint32_t Position() const { return static_cast<std::uint32_t>(m_position); }
    void MoveTo(std::uint64_t position) { m_position = position; }

    void MoveTo(std::int64_t offset, int origin) {
        const std::uint64_t base = origin == kFromBegin ? 0
                                   : origin == kFromEnd ? m_length
                                                        : m_position;
        if (offset < 0) {
            const std::uint64_t back = 0 - static_cast<std::uint64_t>(offset);
            m_position = back > base ? 0 : base - back;
        } else {
            m_position = std::min(base + static_cast<std::uint64_t>(offset), kLimit);
        }
    }

    std::uint32_t Read(void* buffer, std::uint32_t size) {
        if (m_position >= m_length || size == 0) {
            return 0;
        }
        const auto count =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(size, m_length - m_position));
        std::memcpy(buffer, m_data + m_position, count);
        m_position += count;
        return count;
    }

    void Write(const void* data, std::uint32_t size) {
        if (size == 0 || data == nullptr || !Reserve(m_position + size)) {
            return;
        }
        if (m_position > m_length) {
            std::memset(m_data + m_length, 0, m_position - m_length);
        }
        std::memcpy(m_data + m_position, data, size);
        m_position += size;
        m_length = std::max(m_length, m_position);
    }

    std::span<const std::uint8_t> Bytes() const {
        return {m_data, static_cast<std::size_t>(m_length)};
    }

    void CopyTo(void* target) const {
        if (m_length > 0) {
            std::memcpy(target, m_data, m_length);
        }
    }

private:
    static constexpr std::uint64_t kLimit = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint64_t kStep = 1024;

    bool Reserve(std::uint64_t length) {
        if (length <= m_capacity) {
            return true;
        }
        if (length > kLimit) {
            return false;
        }
        const std::uint64_t capacity = (length + kStep - 1) / kStep * kStep;
        void* data = std::realloc(m_data, capacity);
        if (data == nullptr) {
            return false;
        }
        m_data = static_cast<BYTE*>(data);
        m_capacity = capacity;
        return true;
    }

    BYTE* m_data = nullptr;
    std::uint64_t m_length = 0;
    std::uint64_t m_capacity = 0;
    std::uint64_t m_position = 0;
};

// Records that cross the plug-in boundary hold a stream, so the places of its fields are part of
// the binary interface. offsetof is conditionally supported for a class with a virtual function.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct CMemStream::Layout {
    static_assert(offsetof(CMemStream, m_pStore) == 8);  // after the virtual table
    static_assert(offsetof(CMemStream, m_nReadPosition) == 16);
    static_assert(offsetof(CMemStream, m_nWritePosition) == 20);
    static_assert(offsetof(CMemStream, m_pStream) == 24);
    static_assert(offsetof(CMemStream, m_bDirty) == 32);
    static_assert(offsetof(CMemStream, m_hGlobal) == 40);
    static_assert(offsetof(CMemStream, m_pBuffer) == 48);
    static_assert(sizeof(CMemStream) == 56);
};
#pragma GCC diagnostic pop

CMemStream::CMemStream() : m_pStore(std::make_unique<Store>()) {}

CMemStream::CMemStream(const void* data, std::uint32_t size) : CMemStream() {
    Write(data, size);
    SeekToBegin(kBothCursors);
}

CMemStream::CMemStream(const CMemStream& other) : CMemStream() {
    *this = other;
}

CMemStream::~CMemStream() {
    m_pStore.reset();
    std::free(m_pBuffer);
    m_hGlobal.Reset();
    if (m_pStream != nullptr) {
        m_pStream->Release();
    }
}

// Positions, stream and block stay on purpose.
// cppcheck-suppress operatorEqVarError
CMemStream& CMemStream::operator=(const CMemStream& other) {
    if (this == &other) {
        return *this;
    }
    Reset();
    if (!ResizeBuffer(other.GetLength())) {
        return *this;
    }
    other.m_pStore->CopyTo(m_pBuffer);
    // At the write position as it was, not at the start: assignment does not move this cursor back.
    Write(m_pBuffer, static_cast<std::uint32_t>(other.GetLength()));
    return *this;
}

void CMemStream::Write(const void* data, std::uint32_t size) {
    ASSERT(data != nullptr || size == 0);
    m_pStore->MoveTo(m_nWritePosition);
    m_pStore->Write(data, size);
    m_nWritePosition = m_pStore->Position();
    m_bDirty = true;
}

void CMemStream::Read(void* buffer, std::uint32_t size) {
    ReadSome(buffer, size);
}

std::uint32_t CMemStream::ReadSome(void* buffer, std::uint32_t size) {
    ASSERT(buffer != nullptr || size == 0);
    m_pStore->MoveTo(m_nReadPosition);
    const std::uint32_t count = m_pStore->Read(buffer, size);
    m_nReadPosition = m_pStore->Position();
    return count;
}

void CMemStream::Seek(std::int64_t offset, int which, int origin) {
    const auto move = [&](std::uint32_t& position) {
        if (origin == kFromCurrent) {
            m_pStore->MoveTo(position);
        }
        m_pStore->MoveTo(offset, origin);
        position = m_pStore->Position();
    };
    if (which == kReadCursor || which == kBothCursors) {
        move(m_nReadPosition);
    }
    if (which == kWriteCursor || which == kBothCursors) {
        move(m_nWritePosition);
    }
}

void CMemStream::SeekToBegin(int which) {
    Seek(0, which, kFromBegin);
}

void CMemStream::SeekToEnd(int which) {
    Seek(0, which, kFromEnd);
}

std::uint64_t CMemStream::GetLength() const {
    return m_pStore->Length();
}

std::span<const std::uint8_t> CMemStream::Bytes() const {
    return m_pStore->Bytes();
}

BYTE* CMemStream::GetBuffer() {
    if (ResizeBuffer(GetLength())) {
        m_pStore->CopyTo(m_pBuffer);
        m_pStore->MoveTo(m_nReadPosition);
    }
    return m_pBuffer;
}

bool CMemStream::ResizeBuffer(std::uint64_t size) {
    void* buffer = size > 0 ? std::realloc(m_pBuffer, size) : nullptr;
    if (buffer == nullptr) {
        std::free(m_pBuffer);
    }
    m_pBuffer = static_cast<BYTE*>(buffer);
    return m_pBuffer != nullptr;
}

void CMemStream::Reset() {
    // The positions stay, even past the new end; a write there fills the gap with zeros.
    m_pStore = std::make_unique<Store>();
    m_bDirty = true;
}

void CMemStream::FreeGlobalBlock(HGLOBAL block) {
    ::GlobalUnlock(block);
    ::GlobalFree(block);
}

IStream* CMemStream::GetIStream() {
    if (GetLength() == 0) {
        return nullptr;
    }
    if (m_pStream != nullptr && !m_bDirty) {
        return m_pStream;
    }
    m_hGlobal.Reset();
    // Forgotten, not released: whoever was handed it may still hold it without a reference.
    m_pStream = nullptr;
    m_bDirty = false;

    m_hGlobal = CGlobalBlock(::GlobalAlloc(GMEM_FIXED, GetLength()));
    if (!m_hGlobal) {
        return nullptr;
    }
    if (FAILED(::CreateStreamOnHGlobal(m_hGlobal.Get(), FALSE, &m_pStream))) {
        m_pStream = nullptr;
        m_hGlobal.Reset();
        return nullptr;
    }
    m_pStore->CopyTo(::GlobalLock(m_hGlobal.Get()));
    return m_pStream;
}

template <typename T>
CMemStream& CMemStream::Extract(T& value) {
    Read(&value, sizeof(T));
    return *this;
}

template <typename T>
CMemStream& CMemStream::Insert(const T& value) {
    Write(&value, sizeof(T));
    return *this;
}

CMemStream& CMemStream::operator>>(signed char& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(unsigned char& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(short& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(unsigned short& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(int& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(unsigned int& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(long& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(unsigned long& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(float& value) {
    return Extract(value);
}
CMemStream& CMemStream::operator>>(double& value) {
    return Extract(value);
}

CMemStream& CMemStream::operator>>(bool& value) {
    BYTE byte = value ? 1 : 0;
    Read(&byte, 1);
    value = byte != 0;
    return *this;
}

CMemStream& CMemStream::operator>>(std::string& value) {
    value.clear();
    std::uint32_t left = 0;
    Read(&left, sizeof(left));
    char chunk[1024];
    while (left > 0) {
        const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(left, sizeof(chunk)));
        const std::uint32_t got = ReadSome(chunk, wanted);
        // The format's rule: a zero byte ends its chunk's text; the next chunk's is appended.
        value.append(chunk, strnlen(chunk, got));
        left -= got;
        if (got < wanted) {
            break;
        }
    }
    return *this;
}

CMemStream& CMemStream::operator<<(signed char value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(unsigned char value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(short value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(unsigned short value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(int value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(unsigned int value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(long value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(unsigned long value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(float value) {
    return Insert(value);
}
CMemStream& CMemStream::operator<<(double value) {
    return Insert(value);
}

CMemStream& CMemStream::operator<<(bool value) {
    return Insert<BYTE>(value ? 1 : 0);
}

CMemStream& CMemStream::operator<<(const std::string& value) {
    Insert(static_cast<std::uint32_t>(value.size()));
    Write(value.data(), static_cast<std::uint32_t>(value.size()));
    return *this;
}

}  // namespace Terrascope

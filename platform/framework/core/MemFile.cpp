#include "MemFile.h"

#include <algorithm>
#include <cstring>
#include <new>

IMPLEMENT_DYNAMIC(CMemFile, CFile)

void CMemFile::Close() {
    m_bytes = {};
    m_position = 0;
}

UINT CMemFile::Read(void* buffer, UINT count) {
    if (m_position >= m_bytes.size())
        return 0;
    const auto read = std::min<ULONGLONG>(count, m_bytes.size() - m_position);
    std::memcpy(buffer, m_bytes.data() + m_position, read);
    m_position += read;
    return static_cast<UINT>(read);
}

void CMemFile::Write(const void* buffer, UINT count) {
    if (count == 0)
        return;
    if (m_position + count > m_bytes.size())
        SetLength(m_position + count);
    std::memcpy(m_bytes.data() + m_position, buffer, count);
    m_position += count;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
    const ULONGLONG base = from == begin ? 0 : from == current ? m_position : m_bytes.size();
    const LONGLONG position = static_cast<LONGLONG>(base) + offset;
    if (position < 0)
        AfxThrowFileException(CFileException::badSeek);
    m_position = static_cast<ULONGLONG>(position);
    return m_position;
}

void CMemFile::SetLength(ULONGLONG length) {
    try {
        if (length > m_bytes.capacity() && m_growBytes > 0) {
            // At least half again as much: many small writes must not copy each time.
            const ULONGLONG wanted = std::max<ULONGLONG>(length, m_bytes.size() * 3 / 2);
            m_bytes.reserve((wanted + m_growBytes - 1) / m_growBytes * m_growBytes);
        }
        m_bytes.resize(length);
    } catch (const std::exception&) {
        AfxThrowMemoryException();
    }
    m_position = std::min(m_position, length);
}

#include "plugins/common/FileSource.h"

namespace Terrascope::Plugins {
namespace {

/// As finely as the time of a file can be trusted: file systems note it in steps of milliseconds. A
/// look at each read would cost a tenth of the read.
std::int64_t Millisecond() {
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart / 1000;
}

}  // namespace

CFileSource::CFileSource(std::unique_ptr<CWatchedFile> file)
    : m_file(std::move(file)),
      m_size(m_file->Size()),
      m_lastWrite(m_file->LastWrite()),
      m_betweenLooks(Millisecond()) {}

std::unique_ptr<CFileSource> CFileSource::Open(const std::wstring& path) {
    std::unique_ptr<CWatchedFile> file = CWatchedFile::Open(path);
    return file != nullptr ? std::unique_ptr<CFileSource>(new CFileSource(std::move(file)))
                           : nullptr;
}

std::unique_ptr<CFileHandle> CFileSource::TakeHandle() {
    std::unique_ptr<CFileHandle> handle = m_handles.Take();
    if (handle == nullptr) {
        handle = std::make_unique<CFileHandle>(m_file->OpenAgain());
    }
    return handle;
}

bool CFileSource::IsUnchanged() {
    LARGE_INTEGER now{};
    ::QueryPerformanceCounter(&now);
    if (now.QuadPart >= m_nextLook.load(std::memory_order_relaxed)) {
        m_nextLook = now.QuadPart + m_betweenLooks;
        if (m_file->LastWrite() != m_lastWrite) {
            m_hasChanged = true;
        }
    }
    return !m_hasChanged;
}

bool CFileSource::Read(std::uint64_t offset, std::span<std::uint8_t> buffer) {
    if (offset > m_size || buffer.size() > m_size - offset || buffer.size() > MAXDWORD) {
        return false;
    }
    if (m_hasChanged || !m_file->IsInPlace()) {
        m_handles.Clear();  // so that a file that was deleted can go
        return false;
    }
    std::unique_ptr<CFileHandle> handle = TakeHandle();
    if (!*handle) {
        return false;
    }
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD read = 0;
    const bool whole = ::ReadFile(handle->Get(), buffer.data(), static_cast<DWORD>(buffer.size()),
                                  &read, &place) &&
                       read == buffer.size();
    m_handles.PutBack(std::move(handle));
    // After the reading: what was written before it shows in the time.
    return whole && IsUnchanged();
}

}  // namespace Terrascope::Plugins

#include "plugins/common/FileSource.h"

namespace Terrascope::Plugins {

CFileSource::CFileSource(std::unique_ptr<CWatchedFile> file)
    : m_file(std::move(file)), m_size(m_file->Size()), m_lastWrite(m_file->LastWrite()) {}

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

bool CFileSource::Read(std::uint64_t offset, std::span<std::uint8_t> buffer) {
    if (offset > m_size || buffer.size() > m_size - offset || buffer.size() > MAXDWORD) {
        return false;
    }
    if (!m_file->IsInPlace()) {
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
    return whole && m_file->LastWrite() == m_lastWrite;
}

}  // namespace Terrascope::Plugins

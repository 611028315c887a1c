#include "plugins/common/WatchedFile.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kBetweenLooks = 100;  // milliseconds

}  // namespace

CFileHandle CWatchedFile::OpenFile(const std::wstring& path, DWORD access) {
    return CFileHandle(::CreateFileW(path.c_str(), access,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_RANDOM_ACCESS, nullptr));
}

bool CWatchedFile::Identify(HANDLE file, Identity& identity) {
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!::GetFileInformationByHandle(file, &facts)) {
        return false;
    }
    identity.volume = facts.dwVolumeSerialNumber;
    identity.index = std::uint64_t{facts.nFileIndexHigh} << 32 | facts.nFileIndexLow;
    return true;
}

std::unique_ptr<CWatchedFile> CWatchedFile::Open(const std::wstring& path) {
    std::unique_ptr<CWatchedFile> file(new CWatchedFile(path, OpenFile(path, GENERIC_READ)));
    if (!file->m_handle || ::GetFileType(file->m_handle.Get()) != FILE_TYPE_DISK ||
        !Identify(file->m_handle.Get(), file->m_identity)) {
        return nullptr;
    }
    return file;
}

std::uint64_t CWatchedFile::Size() const {
    LARGE_INTEGER size{};
    return ::GetFileSizeEx(m_handle.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

FileTime CWatchedFile::LastWrite() const {
    FILETIME time{};
    return ::GetFileTime(m_handle.Get(), nullptr, nullptr, &time)
               ? FileTime{time.dwHighDateTime} << 32 | time.dwLowDateTime
               : 0;
}

bool CWatchedFile::IsInPlace() {
    std::uint64_t next = m_nextLook.load(std::memory_order_relaxed);
    const std::uint64_t now = ::GetTickCount64();
    if (m_gone || now < next) {
        return !m_gone;
    }
    // One of the threads that come at once looks.
    return m_nextLook.compare_exchange_strong(next, now + kBetweenLooks) ? IsInPlaceNow() : !m_gone;
}

bool CWatchedFile::IsInPlaceNow() {
    const CFileHandle there = OpenFile(m_path, 0);
    Identity identity;
    if (!there || !Identify(there.Get(), identity) || identity != m_identity) {
        m_gone = true;
    }
    return !m_gone;
}

CFileHandle CWatchedFile::OpenAgain() {
    CFileHandle handle = OpenFile(m_path, GENERIC_READ);
    Identity identity;
    if (handle && (!Identify(handle.Get(), identity) || identity != m_identity)) {
        handle.Reset();
        m_gone = true;
    }
    return handle;
}

}  // namespace Terrascope::Plugins

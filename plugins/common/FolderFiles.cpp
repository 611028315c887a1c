#include "plugins/common/FolderFiles.h"

#include <algorithm>

#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {
namespace {

FileTime Joined(const FILETIME& time) {
    return FileTime{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// False when the folder cannot be read.
template <class TVisit>
bool ForEachEntry(const std::wstring& folder, TVisit visit) {
    WIN32_FIND_DATAW entry{};
    const CFindHandle search(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    if (!search) {
        return false;
    }
    do {
        visit(entry);
    } while (::FindNextFileW(search.Get(), &entry) != 0);
    return true;
}

}  // namespace

SYSTEMTIME LocalTime(FileTime time) {
    const FILETIME parts{static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    SYSTEMTIME utc{};
    SYSTEMTIME local{};
    ::FileTimeToSystemTime(&parts, &utc);
    ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local);
    return local;
}

bool ComesBefore(const FolderFacts& a, const FolderFacts& b) {
    return ::CompareStringOrdinal(a.name.c_str(), -1, b.name.c_str(), -1, TRUE) == CSTR_LESS_THAN;
}

std::optional<std::vector<FolderFacts>> ListFolders(const std::wstring& folder) {
    std::vector<FolderFacts> folders;
    if (!ForEachEntry(folder, [&folders](const WIN32_FIND_DATAW& entry) {
            const std::wstring_view name = entry.cFileName;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && name != L"." &&
                name != L"..") {
                folders.push_back({std::wstring(name), Joined(entry.ftCreationTime),
                                   Joined(entry.ftLastWriteTime)});
            }
        })) {
        return std::nullopt;
    }
    // Most file systems list them in this order.
    if (!std::is_sorted(folders.begin(), folders.end(), ComesBefore)) {
        std::sort(folders.begin(), folders.end(), ComesBefore);
    }
    return folders;
}

std::optional<std::vector<std::wstring>> ListFiles(const std::wstring& folder) {
    std::vector<std::wstring> files;
    if (!ForEachEntry(folder, [&files](const WIN32_FIND_DATAW& entry) {
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                files.emplace_back(entry.cFileName);
            }
        })) {
        return std::nullopt;
    }
    return files;
}

std::optional<FileFacts> LookAtFile(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::nullopt;
    }
    return FileFacts{std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow,
                     Joined(data.ftCreationTime), Joined(data.ftLastWriteTime)};
}

std::optional<std::vector<std::uint8_t>> ReadWholeFile(const std::wstring& path,
                                                       std::size_t limit) {
    const CFileHandle file(::CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    LARGE_INTEGER size{};
    if (!file || ::GetFileType(file.Get()) != FILE_TYPE_DISK ||
        !::GetFileSizeEx(file.Get(), &size) ||
        static_cast<std::uint64_t>(size.QuadPart) > std::min<std::size_t>(limit, MAXDWORD)) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) ||
        read != bytes.size()) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace Terrascope::Plugins

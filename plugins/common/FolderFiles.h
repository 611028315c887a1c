#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Terrascope::Plugins {

/// A time of a file or folder: 100 ns steps since 1601, UTC.
using FileTime = std::uint64_t;

/// The time by the clock of the user's time zone, as records have it.
SYSTEMTIME LocalTime(FileTime time);

/// A folder as the folder above lists it.
struct FolderFacts {
    std::wstring name;
    FileTime created = 0;
    FileTime lastWrite = 0;

    bool operator==(const FolderFacts&) const = default;
};

/// The order of ListFolders: by name, ignoring case.
bool ComesBefore(const FolderFacts& a, const FolderFacts& b);

/// The folders directly in `folder`, ordered. Nothing when the folder cannot be read.
std::optional<std::vector<FolderFacts>> ListFolders(const std::wstring& folder);

/// The names of the files directly in `folder`. Nothing when the folder cannot be read.
std::optional<std::vector<std::wstring>> ListFiles(const std::wstring& folder);

/// A file as its folder lists it.
struct FileFacts {
    std::uint64_t size = 0;  ///< bytes
    FileTime created = 0;
    FileTime lastWrite = 0;

    bool operator==(const FileFacts&) const = default;
};

/// Nothing when there is no such file, or when it is a folder. The file is not opened: that costs
/// many times as much.
std::optional<FileFacts> LookAtFile(const std::wstring& path);

/// A file's bytes; nothing when it cannot be read or is larger than `limit` bytes.
/// Threads: any; others may read and replace the file meanwhile.
std::optional<std::vector<std::uint8_t>> ReadWholeFile(const std::wstring& path, std::size_t limit);

}  // namespace Terrascope::Plugins

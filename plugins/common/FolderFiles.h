#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Terrascope::Plugins {

/// The names of the folders directly in `folder`, ordered by name ignoring case. Nothing when the
/// folder cannot be read.
std::optional<std::vector<std::wstring>> ListFolders(const std::wstring& folder);

/// A file as the directory lists it.
struct FileFacts {
    std::uint64_t size = 0;  ///< bytes
    FILETIME lastWrite{};    ///< UTC
};

/// Nothing when there is no such file, or when it is a folder.
std::optional<FileFacts> LookAtFile(const std::wstring& path);

/// A file's bytes; nothing when it cannot be read or is larger than `limit` bytes.
/// Threads: any; others may read and replace the file meanwhile.
std::optional<std::vector<std::uint8_t>> ReadWholeFile(const std::wstring& path, std::size_t limit);

}  // namespace Terrascope::Plugins

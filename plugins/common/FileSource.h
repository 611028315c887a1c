#pragma once

#include "plugins/common/ByteSource.h"
#include "plugins/common/LeasePool.h"
#include "plugins/common/WatchedFile.h"

namespace Terrascope::Plugins {

/// A file that must not change: once it has been written to or cut short (as its time shows, which
/// is looked at every millisecond), replaced or deleted (every tenth of a second), all reads fail.
///
/// Threads: any number may read at once, each with a handle of its own: reads on one handle wait
///          for each other.
class CFileSource : public IByteSource {
public:
    /// Null when the file cannot be read.
    static std::unique_ptr<CFileSource> Open(const std::wstring& path);

    std::uint64_t Size() const override { return m_size; }
    bool Read(std::uint64_t offset, std::span<std::uint8_t> buffer) override;

    FileTime LastWrite() const { return m_lastWrite; }

private:
    explicit CFileSource(std::unique_ptr<CWatchedFile> file);
    std::unique_ptr<CFileHandle> TakeHandle();
    bool IsUnchanged();

    const std::unique_ptr<CWatchedFile> m_file;
    const std::uint64_t m_size;
    const FileTime m_lastWrite;
    const std::int64_t m_betweenLooks;        ///< as m_nextLook counts
    std::atomic<std::int64_t> m_nextLook{0};  ///< of QueryPerformanceCounter
    std::atomic<bool> m_hasChanged{false};
    CLeasePool<CFileHandle> m_handles;
};

}  // namespace Terrascope::Plugins

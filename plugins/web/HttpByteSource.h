#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plugins/common/ByteSource.h"
#include "plugins/web/WebMap.h"

namespace Terrascope::Plugins {

/// A file on a server that delivers it in ranges (RFC 9110, section 14). Its first 16 KiB are kept,
/// where archives have what is read first.
///
/// Threads: any. Read waits for the server: as long as a tile may take, or until the cancellation
///          that the calling thread has set.
class CHttpByteSource : public IByteSource {
public:
    /// Null, with the reason, when the file cannot be had, or its server delivers no ranges and it
    /// is larger than 16 KiB.
    static std::unique_ptr<CHttpByteSource> Open(const HttpAddress& address,
                                                 const WebAccess& access,
                                                 const Cancellation& cancellation,
                                                 std::string& reason);

    std::uint64_t Size() const override { return m_size; }
    /// False as well once the server has another version of the file.
    bool Read(std::uint64_t offset, std::span<std::uint8_t> buffer) override;

    /// While it lives, reads of this thread end with the cancellation, and take so many
    /// milliseconds at most, all together.
    class CEndsWith {
    public:
        CEndsWith(const Cancellation& cancellation, Milliseconds time);
        ~CEndsWith();
        CEndsWith(const CEndsWith&) = delete;
        CEndsWith& operator=(const CEndsWith&) = delete;

    private:
        const Cancellation* const m_former;
        const ULONGLONG m_formerEnd;
    };

private:
    CHttpByteSource(const HttpAddress& address, const WebAccess& access)
        : m_address(address), m_access(access) {}

    HttpResult Fetch(std::uint64_t offset, std::uint64_t count,
                     const Cancellation& cancellation) const;

    const HttpAddress m_address;
    const WebAccess m_access;
    // Constant after Open:
    std::uint64_t m_size = 0;
    std::string m_version;  ///< the entity tag or time of the file; empty: not stated
    std::vector<std::uint8_t> m_start;
};

}  // namespace Terrascope::Plugins

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plugins/common/ByteSource.h"
#include "plugins/web/WebMap.h"

namespace Terrascope::Plugins {

/// A file on a server that delivers it in ranges (RFC 9110, section 14). Its first 16 KiB are kept
/// while they are fresh, where archives have what is read first.
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

    /// Last-Modified of the file; 0 when it is not stated.
    UnixSeconds LastModified() const { return m_first.LastModified(); }

    /// While it lives, reads of this thread end with the cancellation, take so many milliseconds at
    /// most, all together, and leave word here.
    class CReadScope {
    public:
        CReadScope(const Cancellation& cancellation, Milliseconds time);
        ~CReadScope();
        CReadScope(const CReadScope&) = delete;
        CReadScope& operator=(const CReadScope&) = delete;

        /// The headers, without a body, of the answer that the last bytes came with.
        const HttpResponse& Last() const { return m_last; }
        /// Why bytes could not be had from the server; empty: all could that were asked for.
        const std::string& Failure() const { return m_failure; }

    private:
        friend CHttpByteSource;

        const Cancellation& m_cancellation;
        const ULONGLONG m_end;  ///< milliseconds of GetTickCount64
        CReadScope* const m_former;
        HttpResponse m_last;
        std::string m_failure;
    };

private:
    CHttpByteSource(const HttpAddress& address, const WebAccess& access)
        : m_address(address), m_access(access) {}

    HttpResult Fetch(std::uint64_t offset, std::uint64_t count, Milliseconds time,
                     const Cancellation& cancellation) const;

    const HttpAddress m_address;
    const WebAccess m_access;
    // Constant after Open:
    std::uint64_t m_size = 0;
    std::string m_version;       ///< the entity tag or time of the file; empty: not stated
    HttpResponse m_first;        ///< the answer that brought the start; its body is that
    UnixSeconds m_firstEnd = 0;  ///< from then on the start is read from the server
};

}  // namespace Terrascope::Plugins

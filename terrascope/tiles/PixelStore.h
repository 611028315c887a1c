#pragma once

#include <afxmt.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope {

/// The memory of pictures that are gone, for the next ones of their size: what the system gives
/// anew costs a page fault for every 4 KB, a fifth of a JPEG's decoding.
///
/// Owns:    at most kMaxBytes.
/// Threads: any. Locks: one, innermost.
/// Ends:    with the last picture and the last other holder of a share.
class CPixelStore {
public:
    using Pixels = std::unique_ptr<std::uint32_t[]>;

    static constexpr std::size_t kMaxBytes = 16 << 20;

    /// The one of the process.
    static std::shared_ptr<CPixelStore> Shared();

    /// Pixels that are yet to be written; null when memory is short.
    Pixels Take(std::size_t count);

    /// Keeps the pixels for later, or frees them when there are enough.
    void Put(Pixels pixels, std::size_t count) noexcept;

    /// What is kept for later.
    std::size_t Bytes() const;

private:
    struct Block {
        Pixels pixels;
        std::size_t count;
    };

    mutable CCriticalSection m_lock;
    std::vector<Block> m_blocks TERRASCOPE_GUARDED_BY(m_lock);  ///< the last was used last
    std::size_t m_bytes TERRASCOPE_GUARDED_BY(m_lock) = 0;
};

}  // namespace Terrascope

#pragma once

#include <cstdint>
#include <span>

namespace Terrascope::Plugins {

/// Bytes that are read in pieces, at any place: a file, or what a server delivers in ranges.
///
/// Threads: any number may read at once.
class IByteSource {
public:
    virtual ~IByteSource() = default;

    /// Bytes in all.
    virtual std::uint64_t Size() const = 0;

    /// Fills the whole buffer from `offset` on. False when a byte of it could not be read, or when
    /// the source is no longer what it was when it was opened; the buffer then holds anything.
    virtual bool Read(std::uint64_t offset, std::span<std::uint8_t> buffer) = 0;
};

}  // namespace Terrascope::Plugins

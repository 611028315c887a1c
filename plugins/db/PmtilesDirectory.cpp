#include "plugins/db/PmtilesDirectory.h"

#include <algorithm>
#include <limits>

namespace Terrascope::Plugins {
namespace {

/// Reads numbers of seven bits to a byte, lowest first; the last byte has no top bit.
class Numbers {
public:
    explicit Numbers(std::span<const std::uint8_t> bytes) : m_rest(bytes) {}

    /// 0 from the first failure on.
    std::uint64_t Next() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64 && !m_rest.empty(); shift += 7) {
            const std::uint64_t byte = m_rest.front();
            m_rest = m_rest.subspan(1);
            value |= (byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) {
                return value;
            }
        }
        m_failed = true;
        m_rest = {};
        return 0;
    }
    /// The same, for a field of 32 bits.
    std::uint32_t NextShort() {
        const std::uint64_t value = Next();
        m_failed = m_failed || value > std::numeric_limits<std::uint32_t>::max();
        return static_cast<std::uint32_t>(value);
    }
    std::size_t Left() const { return m_rest.size(); }
    bool HasFailed() const { return m_failed; }

private:
    std::span<const std::uint8_t> m_rest;
    bool m_failed = false;
};

}  // namespace

std::uint64_t PmtilesNumber(const GridTile& tile) {
    // All tiles above: 1 + 4 + 16 + ...
    std::uint64_t number = ((std::uint64_t{1} << (2 * tile.zoom)) - 1) / 3;
    auto x = static_cast<std::uint64_t>(tile.column);
    auto y = static_cast<std::uint64_t>(tile.row);
    for (int level = tile.zoom - 1; level >= 0; --level) {
        const std::uint64_t half = std::uint64_t{1} << level;
        const bool isRight = (x & half) != 0;
        const bool isLower = (y & half) != 0;
        number += half * half * ((isRight ? 3U : 0U) ^ (isLower ? 1U : 0U));
        x &= half - 1;
        y &= half - 1;
        if (!isLower) {
            // The curve enters this quarter mirrored about a diagonal.
            if (isRight) {
                x = half - 1 - x;
                y = half - 1 - y;
            }
            std::swap(x, y);
        }
    }
    return number;
}

std::optional<PmtilesDirectory> ParsePmtilesDirectory(std::span<const std::uint8_t> bytes) {
    Numbers numbers(bytes);
    const std::uint64_t count = numbers.Next();
    // An entry takes four bytes at least: no memory is taken for what is not there.
    if (count > numbers.Left() / 4) {
        return std::nullopt;
    }
    PmtilesDirectory directory(static_cast<std::size_t>(count));
    std::uint64_t number = 0;
    for (PmtilesEntry& entry : directory) {
        const std::uint64_t step = numbers.Next();
        const bool isFirst = &entry == &directory.front();
        if ((step == 0 && !isFirst) || step > std::numeric_limits<std::uint64_t>::max() - number) {
            return std::nullopt;
        }
        number += step;
        entry.number = number;
    }
    for (PmtilesEntry& entry : directory) {
        entry.run = numbers.NextShort();
    }
    for (PmtilesEntry& entry : directory) {
        entry.length = numbers.NextShort();
        if (entry.length == 0) {
            return std::nullopt;
        }
    }
    std::uint64_t behind = 0;
    for (PmtilesEntry& entry : directory) {
        const std::uint64_t code = numbers.Next();  // 0: behind the entry before; else 1 too large
        const bool isFirst = &entry == &directory.front();
        entry.offset = code == 0 ? behind : code - 1;
        if ((code == 0 && isFirst) ||
            entry.offset > std::numeric_limits<std::uint64_t>::max() - entry.length) {
            return std::nullopt;
        }
        behind = entry.offset + entry.length;
    }
    return numbers.HasFailed() ? std::nullopt : std::optional(std::move(directory));
}

const PmtilesEntry* FindPmtilesEntry(const PmtilesDirectory& directory, std::uint64_t number) {
    const auto behind = std::upper_bound(
        directory.begin(), directory.end(), number,
        [](std::uint64_t wanted, const PmtilesEntry& entry) { return wanted < entry.number; });
    if (behind == directory.begin()) {
        return nullptr;
    }
    const PmtilesEntry& entry = *std::prev(behind);
    return entry.run == 0 || number - entry.number < entry.run ? &entry : nullptr;
}

}  // namespace Terrascope::Plugins

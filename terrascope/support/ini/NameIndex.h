#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Terrascope {

/// Names with a number each, found by their exact bytes or ignoring case.
///
/// Owns:    copies of the names.
/// Threads: one at a time; FindNoCase fills a second table at its first call.
class CNameIndex {
public:
    static constexpr int kNone = -1;

    /// Gives the name a number, in place of an earlier one. The result is the name's place, counted
    /// from 0 in the order of first use; NameAt takes it.
    std::uint32_t Set(std::string_view name, int number);

    /// The number, or kNone.
    int Find(std::string_view name) const;

    /// Of the names that equal this one ignoring case, the number of the one that comes first in
    /// byte order, even if another one is equal to the last byte; or kNone.
    int FindNoCase(std::string_view name) const;

    std::string_view NameAt(std::uint32_t place) const;

private:
    struct Entry {
        std::size_t offset;
        std::size_t length;
        std::size_t hash;
        int number;
    };

    std::size_t SlotOf(std::string_view name, std::size_t hash) const;
    void Grow();

    std::string m_names;                 ///< one after the other
    std::vector<Entry> m_entries;        ///< in the order of first use
    std::vector<std::uint32_t> m_slots;  ///< place + 1 or 0; a power of two, at most half full
    mutable std::unordered_map<std::string, std::uint32_t> m_folded;  ///< place by folded name
    mutable bool m_bFolded = false;
};

}  // namespace Terrascope

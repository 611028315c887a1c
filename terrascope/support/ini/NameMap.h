#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

/// Values by name, found by the name's exact bytes or ignoring case.
///
/// Owns:    copies of the names, and the values.
/// Threads: one at a time; FindNoCase fills a second table at its first call.
template <class T>
class CNameMap {
public:
    using Entry = std::pair<const std::string, T>;

    CNameMap() = default;
    CNameMap(const CNameMap&) = delete;
    CNameMap& operator=(const CNameMap&) = delete;

    void Clear() {
        m_folded.clear();
        m_values.clear();
    }

    /// The name as kept here, with its value (a new one when it had none). Stays in its place
    /// until Clear.
    Entry& At(std::string_view name) {
        auto found = m_values.find(name);
        if (found == m_values.end()) {
            m_folded.clear();
            found = m_values.try_emplace(std::string(name)).first;
        }
        return *found;
    }

    /// The value, or null.
    const T* Find(std::string_view name) const {
        const auto found = m_values.find(name);
        return found == m_values.end() ? nullptr : &found->second;
    }

    /// Of the names that equal this one ignoring case, the value of the one that comes first in
    /// byte order, even if another one is equal to the last byte; or null.
    const T* FindNoCase(std::string_view name) const {
        if (m_folded.empty()) {
            FoldedNames folded;
            for (const Entry& entry : m_values) {
                const Entry*& first = folded[FoldCase(entry.first)];
                if (first == nullptr || entry.first < first->first) {
                    first = &entry;
                }
            }
            m_folded = std::move(folded);
        }
        const auto found = m_folded.find(FoldCase(name));
        return found == m_folded.end() ? nullptr : &found->second->second;
    }

private:
    /// Lets a lookup do without a copy of the name.
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const {
            return std::hash<std::string_view>()(name);
        }
    };

    using FoldedNames = std::unordered_map<std::string, const Entry*>;

    std::unordered_map<std::string, T, Hash, std::equal_to<>> m_values;
    mutable FoldedNames m_folded;  ///< empty until needed
};

}  // namespace Terrascope

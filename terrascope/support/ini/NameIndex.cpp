#include "terrascope/support/ini/NameIndex.h"

#include <functional>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {

std::uint32_t CNameIndex::Set(std::string_view name, int number) {
    if (m_slots.size() < 2 * (m_entries.size() + 1)) {
        Grow();
    }
    const std::size_t hash = std::hash<std::string_view>()(name);
    std::uint32_t& slot = m_slots[SlotOf(name, hash)];
    if (slot == 0) {
        m_entries.push_back({m_names.size(), name.size(), hash, number});
        m_names.append(name);
        slot = static_cast<std::uint32_t>(m_entries.size());
        m_bFolded = false;
    }
    m_entries[slot - 1].number = number;
    return slot - 1;
}

int CNameIndex::Find(std::string_view name) const {
    if (m_entries.empty()) {
        return kNone;
    }
    const std::uint32_t slot = m_slots[SlotOf(name, std::hash<std::string_view>()(name))];
    return slot == 0 ? kNone : m_entries[slot - 1].number;
}

int CNameIndex::FindNoCase(std::string_view name) const {
    if (!m_bFolded) {
        m_folded.clear();
        m_folded.reserve(m_entries.size());
        for (std::uint32_t place = 0; place < m_entries.size(); ++place) {
            const auto [position, isNew] = m_folded.try_emplace(FoldCase(NameAt(place)), place);
            if (!isNew && NameAt(place) < NameAt(position->second)) {
                position->second = place;
            }
        }
        m_bFolded = true;
    }
    const auto found = m_folded.find(FoldCase(name));
    return found == m_folded.end() ? kNone : m_entries[found->second].number;
}

std::string_view CNameIndex::NameAt(std::uint32_t place) const {
    return std::string_view(m_names).substr(m_entries[place].offset, m_entries[place].length);
}

std::size_t CNameIndex::SlotOf(std::string_view name, std::size_t hash) const {
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        if (m_slots[at] == 0) {
            return at;
        }
        const std::uint32_t place = m_slots[at] - 1;
        if (m_entries[place].hash == hash && NameAt(place) == name) {
            return at;
        }
    }
}

void CNameIndex::Grow() {
    m_slots.assign(m_slots.empty() ? 16 : 2 * m_slots.size(), 0);
    const std::size_t mask = m_slots.size() - 1;
    for (std::uint32_t place = 0; place < m_entries.size(); ++place) {
        std::size_t at = m_entries[place].hash & mask;
        while (m_slots[at] != 0) {
            at = (at + 1) & mask;
        }
        m_slots[at] = place + 1;
    }
}

}  // namespace Terrascope

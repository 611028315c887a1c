#include "terrascope/tiles/FailedRequests.h"

#include <algorithm>

namespace Terrascope {

void CFailedRequests::Arrange(const TileRanks& ranks) {
    m_requests.remove_if([&](Entry& entry) {
        const auto rank = ranks.find(entry.request.strKey);
        if (rank == ranks.end()) {
            return true;
        }
        entry.request.ahead = !rank->second.visible;
        entry.request.distance = rank->second.distance;
        return false;
    });
}

void CFailedRequests::Remove(const CString& key) {
    m_requests.remove_if(
        [&](const Entry& entry) { return entry.request.strKey.CompareNoCase(key) == 0; });
}

tagTILE_LOAD_REQUEST CFailedRequests::Take(std::uint64_t now) {
    const auto due = std::find_if(m_requests.begin(), m_requests.end(), [&](const Entry& entry) {
        return !entry.request.ahead && entry.due <= now;
    });
    if (due == m_requests.end()) {
        return {};
    }
    tagTILE_LOAD_REQUEST request = std::move(due->request);
    m_requests.erase(due);
    return request;
}

std::uint64_t CFailedRequests::NextDue() const {
    std::uint64_t next = kNever;
    for (const Entry& entry : m_requests) {
        if (!entry.request.ahead) {
            next = std::min(next, entry.due);
        }
    }
    return next;
}

}  // namespace Terrascope

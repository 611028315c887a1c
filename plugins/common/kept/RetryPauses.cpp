#include "plugins/common/kept/RetryPauses.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::uint64_t kPauseAfterFailure = 60'000;  // milliseconds
constexpr std::size_t kMostPauses = 10'000;

}  // namespace

bool CRetryPauses::MayTry(const std::string& tile) {
    CSingleLock lock(&m_lock, TRUE);
    const auto end = m_ends.find(tile);
    return end == m_ends.end() || ::GetTickCount64() >= end->second;
}

void CRetryPauses::NoteFailure(const std::string& tile) {
    const std::uint64_t now = ::GetTickCount64();
    CSingleLock lock(&m_lock, TRUE);
    if (m_ends.size() >= kMostPauses) {
        std::erase_if(m_ends, [now](const auto& entry) { return entry.second <= now; });
    }
    m_ends[tile] = now + kPauseAfterFailure;
}

}  // namespace Terrascope::Plugins

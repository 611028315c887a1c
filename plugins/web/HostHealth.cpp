#include "plugins/web/HostHealth.h"

#include <algorithm>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMostHosts = 256;
constexpr int kFailuresToRest = 5;
constexpr Milliseconds kFirstRest = 2000;
constexpr Milliseconds kLongestRest = 60000;
constexpr Milliseconds kLongestAsked = 3'600'000;  // an hour
/// As long as a tile may take: then another request may find out, if the first has not.
constexpr Milliseconds kTrial = 8000;

}  // namespace

HostHealth::State& HostHealth::StateOf(const std::string& host) {
    const auto found = m_hosts.find(host);
    if (found != m_hosts.end()) {
        return found->second;
    }
    if (m_hosts.size() >= kMostHosts) {
        m_hosts.erase(std::min_element(
            m_hosts.begin(), m_hosts.end(),
            [](const auto& a, const auto& b) { return a.second.until < b.second.until; }));
    }
    return m_hosts[host];
}

bool HostHealth::MayAsk(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_hosts.find(host);
    if (found == m_hosts.end()) {
        return true;
    }
    State& state = found->second;
    if (m_clock.Now() < state.until) {
        return false;
    }
    if (state.rest > 0) {
        state.isOnTrial = true;
        state.until = m_clock.Now() + kTrial;
    }
    return true;
}

bool HostHealth::IsLeftAlone(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_hosts.find(host);
    return found != m_hosts.end() && m_clock.Now() < found->second.until;
}

void HostHealth::Answered(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    m_hosts.erase(host);
}

Milliseconds HostHealth::Failed(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    State& state = StateOf(host);
    // Those that were on their way when the rest began do not make it longer.
    if ((state.rest > 0 && !state.isOnTrial) || ++state.failures < kFailuresToRest) {
        return 0;
    }
    state.isOnTrial = false;
    state.rest = state.rest == 0 ? kFirstRest : std::min(state.rest * 2, kLongestRest);
    state.until = m_clock.Now() + state.rest;
    return state.rest;
}

void HostHealth::Undecided(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_hosts.find(host);
    if (found != m_hosts.end() && found->second.isOnTrial) {
        found->second.isOnTrial = false;
        found->second.until = m_clock.Now();
    }
}

void HostHealth::AskedForPause(const std::string& host, Milliseconds duration) {
    CSingleLock lock(&m_lock, TRUE);
    State& state = StateOf(host);
    state.isOnTrial = false;
    state.until = std::max(state.until, m_clock.Now() + std::min(duration, kLongestAsked));
}

}  // namespace Terrascope::Plugins

#include "plugins/web/ServerStates.h"

#include <algorithm>
#include <cstring>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMostHosts = 64;
constexpr Milliseconds kCounts = 120'000;  // two minutes

std::string WithoutScheme(const std::string& host) {
    constexpr std::string_view kBehind = "://";
    const std::size_t at = host.find(kBehind);
    return at == std::string::npos ? host : host.substr(at + kBehind.size());
}

}  // namespace

void CServerStates::Failed(const std::string& host, bool isUnreachable, bool isLeftAlone,
                           const std::string& reason) {
    const std::string text =
        WithoutScheme(host) + (isLeftAlone ? " is left alone: " : ": ") + reason;
    CSingleLock lock(&m_lock, TRUE);
    if (m_failing.size() >= kMostHosts && !m_failing.contains(host)) {
        m_failing.erase(std::min_element(
            m_failing.begin(), m_failing.end(),
            [](const auto& a, const auto& b) { return a.second.order < b.second.order; }));
    }
    m_failing[host] = {++m_failures,
                       {isUnreachable ? ServerState::NoConnection : ServerState::Failing, text},
                       m_clock.Now() + kCounts};
}

void CServerStates::Answered(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    m_failing.erase(host);
}

void CServerStates::NotAsked(const std::string& host) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_failing.find(host);
    if (found != m_failing.end()) {
        found->second.end = m_clock.Now() + kCounts;
    }
}

ServerState CServerStates::Now() {
    CSingleLock lock(&m_lock, TRUE);
    std::erase_if(m_failing,
                  [now = m_clock.Now()](const auto& one) { return one.second.end <= now; });
    const Failure* last = nullptr;
    for (const auto& [host, failure] : m_failing) {
        const bool goesBefore =
            last == nullptr || failure.state.kind < last->state.kind ||
            (failure.state.kind == last->state.kind && failure.order > last->order);
        last = goesBefore ? &failure : last;
    }
    return last != nullptr ? last->state : ServerState();
}

int HandOver(const ServerState& state, char* text, int size) {
    if (text != nullptr && size > 0) {
        const std::size_t bytes = std::min(state.text.size(), static_cast<std::size_t>(size) - 1);
        std::memcpy(text, state.text.data(), bytes);
        text[bytes] = '\0';
    }
    return state.kind;
}

}  // namespace Terrascope::Plugins

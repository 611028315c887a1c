#include "plugins/web/AbsentAddresses.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMost = 8192;
constexpr Milliseconds kValid = 600'000;  // ten minutes

}  // namespace

void AbsentAddresses::Add(const std::string& address) {
    CSingleLock lock(&m_lock, TRUE);
    if (!m_until.insert_or_assign(address, m_clock.Now() + kValid).second) {
        return;
    }
    m_byAge.push_back(address);
    if (m_byAge.size() > kMost) {
        m_until.erase(m_byAge.front());
        m_byAge.pop_front();
    }
}

bool AbsentAddresses::Has(const std::string& address) {
    CSingleLock lock(&m_lock, TRUE);
    const auto found = m_until.find(address);
    return found != m_until.end() && m_clock.Now() < found->second;
}

}  // namespace Terrascope::Plugins

#include "plugins/common/kept/BackgroundTasks.h"

#include <system_error>

#include "plugins/common/WithoutThrowing.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kMostTasks = 256;

}  // namespace

void CBackgroundTasks::Add(const std::string& name, std::function<void()> task) {
    CSingleLock lock(&m_lock, TRUE);
    if (m_hasEnded || m_tasks.size() >= kMostTasks || !m_names.insert(name).second) {
        return;
    }
    m_tasks.emplace_back(name, std::move(task));
    if (!m_thread.joinable()) {
        try {
            m_thread = std::thread([this] { RunAll(); });
        } catch (const std::system_error&) {
            return;  // no thread: the next task tries again
        }
    }
    m_hasTask.Set();
}

void CBackgroundTasks::End() {
    std::thread thread;
    {
        CSingleLock lock(&m_lock, TRUE);
        m_hasEnded = true;
        m_tasks.clear();
        thread.swap(m_thread);
    }
    m_ends.Set();
    if (thread.joinable()) {
        thread.join();
    }
}

void CBackgroundTasks::RunAll() {
    for (;;) {
        std::pair<std::string, std::function<void()>> task;
        {
            CSingleLock lock(&m_lock, TRUE);
            if (m_hasEnded) {
                return;
            }
            if (!m_tasks.empty()) {
                task = std::move(m_tasks.front());
                m_tasks.pop_front();
            }
        }
        if (task.second == nullptr) {
            CSignal::WaitForEither(m_hasTask, m_ends, INFINITE);
            continue;
        }
        WithoutThrowing<bool>("background", [&] {
            task.second();
            return true;
        });
        CSingleLock lock(&m_lock, TRUE);
        m_names.erase(task.first);
    }
}

}  // namespace Terrascope::Plugins

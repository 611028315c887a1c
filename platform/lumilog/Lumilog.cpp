#include "platform/lumilog/Lumilog.h"

#include <windows.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Lumilog {

namespace {

constexpr std::size_t kKilobyte = 1024;
constexpr std::size_t kFiles = 3;  // the current one and two older ones
constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S.%e [%t] %v";

struct ModuleLog {
    std::shared_ptr<spdlog::logger> logger;
    spdlog::sink_ptr file;
    spdlog::sink_ptr console;
};

using ModuleLogs = std::map<std::string, ModuleLog>;

/// A lock without memory of its own and without a destructor.
class SlimLock {
public:
    void lock() { ::AcquireSRWLockExclusive(&m_lock); }
    void unlock() { ::ReleaseSRWLockExclusive(&m_lock); }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

// Not a static map: modules may log while the process ends, when static objects are gone. It exists
// while a module is registered, so that a DLL that is unloaded leaves nothing behind.
constinit SlimLock g_lock;
constinit ModuleLogs* g_modules = nullptr;  // guarded by g_lock

spdlog::level::level_enum ToLevel(int level) {
    using namespace spdlog::level;
    constexpr level_enum kLevels[] = {off, critical, err, warn, info, debug, trace};
    return kLevels[level < 0 ? 0 : level > 6 ? 6 : level];
}

/// Runs what may throw; a log cannot report its own failures.
template <class Action>
void Quietly(Action action) {
    try {
        action();
    } catch (...) {
        return;
    }
}

void Switch(const spdlog::sink_ptr& sink, bool on) {
    if (sink) {
        sink->set_level(on ? spdlog::level::trace : spdlog::level::off);
    }
}

template <class Action>
void WithModule(const char* name, Action action) {
    Quietly([&] {
        const std::lock_guard guard(g_lock);
        if (g_modules == nullptr) {
            return;
        }
        const auto found = g_modules->find(name);
        if (found != g_modules->end()) {
            action(found->second);
        }
    });
}

}  // namespace

void RegisterByModule(const Configuration& configuration) {
    Quietly([&] {
        ModuleLog module;
        const std::string name = configuration.moduleName;
        // A former file must be closed before the new sink opens it.
        UnRegister(configuration.moduleName);
        module.logger = std::make_shared<spdlog::logger>(name);
        Quietly([&] {
            const std::size_t limit =
                configuration.limit > 0 ? static_cast<std::size_t>(configuration.limit) : 1;
            const std::string folder = configuration.directory;
            // Doubled separators do no harm, and a last byte 0x5C may be half of a character.
            module.file = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                folder + (folder.empty() ? "" : "/") + name + ".log", limit * kKilobyte,
                kFiles - 1);
            module.logger->sinks().push_back(module.file);
        });
        module.console = std::make_shared<spdlog::sinks::stderr_sink_mt>();
        Switch(module.console, false);
        module.logger->sinks().push_back(module.console);
        module.logger->set_pattern(kPattern);
        module.logger->set_level(ToLevel(configuration.level));
        module.logger->flush_on(spdlog::level::info);
        module.logger->set_error_handler([](const std::string&) {});

        const std::lock_guard guard(g_lock);
        if (g_modules == nullptr) {
            g_modules = new ModuleLogs;
        }
        (*g_modules)[name] = std::move(module);
    });
}

void UnRegister(const char* moduleName) {
    WithModule(moduleName, [&](ModuleLog& module) {
        module.logger->flush();
        g_modules->erase(moduleName);
        if (g_modules->empty()) {
            delete g_modules;
            g_modules = nullptr;
        }
    });
}

void _dout(const char* moduleName, const char* format, ...) {
    char line[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    std::shared_ptr<spdlog::logger> logger;
    WithModule(moduleName, [&](ModuleLog& module) { logger = module.logger; });
    if (logger) {
        Quietly([&] { logger->log(spdlog::level::info, spdlog::string_view_t(line)); });
    }
}

void SaveToFile(const char* moduleName, bool on) {
    WithModule(moduleName, [&](ModuleLog& module) { Switch(module.file, on); });
}

void SaveToConsole(const char* moduleName, bool on) {
    WithModule(moduleName, [&](ModuleLog& module) { Switch(module.console, on); });
}

}  // namespace Lumilog

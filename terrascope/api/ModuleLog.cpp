#include "terrascope/api/ModuleLog.h"

#include <mutex>
#include <string>
#include <vector>

#include "platform/base/GlobalFunc.h"
#include "platform/lumilog/Lumilog.h"
#include "terrascope/support/LogSink.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace Terrascope {

namespace {

constexpr int kLevel = 6;      // everything
constexpr int kLimit = 10000;  // kilobytes
constexpr bool kToFile = true;
constexpr bool kToConsole = false;
constexpr std::size_t kMostEarlyLines = 200;

std::mutex logLock;
bool logIsSetUp = false;              // guarded by logLock
std::vector<std::string> earlyLines;  // logged before; guarded by logLock
std::string logModule;                // set before WriteLine is the receiver, and kept

void WriteLine(const char* line) {
    Lumilog::_dout(logModule.c_str(), "%s", line);
}

void KeepLine(const char* line) {
    const std::lock_guard guard(logLock);
    if (logIsSetUp) {
        WriteLine(line);
    } else if (earlyLines.size() < kMostEarlyLines) {
        earlyLines.emplace_back(line);
    }
}

}  // namespace

void KeepEarlyLogLines() {
    SetLogReceiver(&KeepLine);
}

void SetUpModuleLog(const char* moduleName, const char* version) {
    const std::lock_guard guard(logLock);
    if (logIsSetUp) {
        return;
    }
    char path[260];
    GlobalFunc::GetModulePath(reinterpret_cast<HMODULE>(&__ImageBase), path, sizeof(path));
    const std::string root = std::string(path) + "log/";
    GlobalFunc::IsDirectoryCreated(root.c_str());
    const std::string directory = root + moduleName + "/";
    GlobalFunc::IsDirectoryCreated(directory.c_str());

    logModule = moduleName;
    logIsSetUp = true;
    Lumilog::RegisterByModule({moduleName, directory.c_str(), kLevel, kLimit});
    Lumilog::_dout(moduleName, "%s ver is %s", moduleName, version);
    for (const std::string& line : earlyLines) {
        WriteLine(line.c_str());
    }
    earlyLines.clear();
    SetLogReceiver(&WriteLine);
}

void SetUpModuleLog() {
    SetUpModuleLog("Terrascope", TERRASCOPE_VERSION);
}

void ShutDownModuleLog() {
    SetLogReceiver(nullptr);
    // At the end of the process a thread may have been killed while it held the lock.
    const std::unique_lock guard(logLock, std::try_to_lock);
    if (!guard.owns_lock() || !logIsSetUp) {
        return;
    }
    logIsSetUp = false;
    Lumilog::SaveToConsole(logModule.c_str(), kToConsole);
    Lumilog::SaveToFile(logModule.c_str(), kToFile);
    Lumilog::UnRegister(logModule.c_str());
}

}  // namespace Terrascope

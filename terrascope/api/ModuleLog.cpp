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
std::string logModule;                // empty until the log is set up
std::vector<std::string> earlyLines;  // what was said before

void KeepLine(const char* line) {
    const std::lock_guard guard(logLock);
    if (earlyLines.size() < kMostEarlyLines)
        earlyLines.emplace_back(line);
}

void WriteLine(const char* line) {
    Lumilog::_dout(logModule.c_str(), "%s", line);
}

}  // namespace

void KeepEarlyLogLines() {
    SetLogReceiver(&KeepLine);
}

void SetUpModuleLog(const char* moduleName, const char* version) {
    const std::lock_guard guard(logLock);
    if (!logModule.empty())
        return;
    char path[260];
    GlobalFunc::GetModulePath(reinterpret_cast<HMODULE>(&__ImageBase), path, sizeof(path));
    const std::string root = std::string(path) + "log/";
    GlobalFunc::IsDirectoryCreated(root.c_str());
    const std::string directory = root + moduleName + "/";
    GlobalFunc::IsDirectoryCreated(directory.c_str());

    logModule = moduleName;
    Lumilog::RegisterByModule({moduleName, directory.c_str(), kLevel, kLimit});
    Lumilog::_dout(moduleName, "%s ver is %s", moduleName, version);
    for (const std::string& line : earlyLines)
        WriteLine(line.c_str());
    earlyLines.clear();
    SetLogReceiver(&WriteLine);
}

void SetUpModuleLog() {
    SetUpModuleLog("Terrascope", TERRASCOPE_VERSION);
}

void ShutDownModuleLog() {
    SetLogReceiver(nullptr);
    const std::lock_guard guard(logLock);
    if (logModule.empty())
        return;
    Lumilog::SaveToConsole(logModule.c_str(), kToConsole);
    Lumilog::SaveToFile(logModule.c_str(), kToFile);
    Lumilog::UnRegister(logModule.c_str());
    logModule.clear();
}

}  // namespace Terrascope

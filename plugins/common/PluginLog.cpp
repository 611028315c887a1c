#include "plugins/common/PluginLog.h"

#include <mutex>

#include "platform/lumilog/Lumilog.h"
#include "terrascope/support/Folders.h"
#include "terrascope/support/LogSink.h"
#include "terrascope/support/Paths.h"

namespace Terrascope::Plugins {
namespace {

constexpr int kLevel = 6;      // everything
constexpr int kLimit = 10000;  // kilobytes

const char* g_name = nullptr;
std::once_flag g_registered;

void Register() {
    const CString folder = GetModuleFolderPath("Terrascope.dll") + "\\log\\" + g_name;
    CreateDirectories(folder);
    Lumilog::RegisterByModule({g_name, folder, kLevel, kLimit});
}

void Receive(const char* line) {
    // Not at the start: that runs while the library is being loaded, and most plug-ins never say
    // anything.
    std::call_once(g_registered, &Register);
    Lumilog::_dout(g_name, "%s", line);
}

}  // namespace

void BeginPluginLog(const char* name) {
    g_name = name;
    SetLogReceiver(&Receive);
}

void EndPluginLog() {
    SetLogReceiver(nullptr);
    if (g_name != nullptr) {
        Lumilog::UnRegister(g_name);
    }
}

}  // namespace Terrascope::Plugins

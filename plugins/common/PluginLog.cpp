#include "plugins/common/PluginLog.h"

#include <windows.h>

#include <filesystem>
#include <mutex>

#include "platform/lumilog/Lumilog.h"
#include "plugins/common/SafePath.h"
#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {
namespace {

constexpr int kLevel = 6;      // everything
constexpr int kLimit = 10000;  // kilobytes

const char* g_name = nullptr;
std::once_flag g_registered;

void Register() {
    wchar_t library[MAX_PATH] = L"";
    ::GetModuleFileNameW(::GetModuleHandleW(L"Terrascope.dll"), library, MAX_PATH - 1);
    const std::filesystem::path folder =
        std::filesystem::path(library).parent_path() / L"log" / ToWide(g_name).value_or(L"");
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    if (const std::optional<CString> narrow = ToNarrow(folder.wstring())) {
        Lumilog::RegisterByModule({g_name, *narrow, kLevel, kLimit});
    }
}

void Receive(const char* line) {
    // Not at the start: that runs while the library is being loaded, and most plug-ins never log.
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

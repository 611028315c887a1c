#include "viewer/ServerState.h"

#include <windows.h>

namespace Viewer {

ServerState AskServers() {
    // plugins/web/README.md: 0 is well, 1 fails, 2 cannot be reached; the text is one line.
    using Report = int (*)(char* text, int size);
    const HMODULE plugin = GetModuleHandleA("WebTileMapInfoProvider.dll");
    const auto report = plugin != nullptr ? reinterpret_cast<Report>(reinterpret_cast<void*>(
                                                GetProcAddress(plugin, "serverState")))
                                          : nullptr;
    if (report == nullptr) {
        return {};
    }
    char text[512] = "";
    ServerState state;
    state.kind = report(text, sizeof(text));
    text[sizeof(text) - 1] = '\0';
    if (state.kind != ServerState::Well) {
        state.text = text;
    }
    return state;
}

std::string ServerStatusText(const ServerState& state, bool isKept) {
    if (state.kind == ServerState::Well) {
        return {};
    }
    if (state.kind == ServerState::Unreachable && isKept) {
        return "offline, from kept tiles" + (state.text.empty() ? "" : " (" + state.text + ")");
    }
    return state.text.empty() ? "a server fails" : state.text;
}

}  // namespace Viewer

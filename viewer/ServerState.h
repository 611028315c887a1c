#pragma once

#include <string>

namespace Viewer {

/// How the servers are that were asked lately, as the plug-in for maps of servers reports it.
struct ServerState {
    enum Kind { Well = 0, Failing = 1, Unreachable = 2 };
    int kind = Well;   ///< a number of the plug-in's: others than these count as Failing
    std::string text;  ///< one line in the program's code page; empty when all is well
};

/// Asks the plug-in, which does not wait for anybody. Well when it is not loaded or does not
/// report. Threads: the user-interface thread.
ServerState AskServers();

/// What the status bar shows of it. `isKept`: what was shown once is kept on this machine.
std::string ServerStatusText(const ServerState& state, bool isKept);

}  // namespace Viewer

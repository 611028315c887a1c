#pragma once

#include "terrascope/display/ILayerSwitchTool.h"
#include "terrascope/tiles/Thread.h"

namespace Terrascope {

/// Drives one animated layer switch, a step each 90 ms or sooner when it is asked to stop.
///
/// Borrows: the tool; it must outlive the thread.
/// Ends:    by itself after the switch, or at the next 30 ms wait once it is asked to stop.
class CLayerSwitchThread : public CThread {
public:
    explicit CLayerSwitchThread(ILayerSwitchTool* tool) : m_tool(tool) {}
    ~CLayerSwitchThread() override;

    DWORD Run() override;

private:
    ILayerSwitchTool* m_tool;
};

}  // namespace Terrascope

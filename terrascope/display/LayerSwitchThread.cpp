#include "terrascope/display/LayerSwitchThread.h"

namespace Terrascope {

namespace {
constexpr int kWaitsPerStep = 3;
constexpr DWORD kWait = 30;  // ms
}  // namespace

CLayerSwitchThread::~CLayerSwitchThread() {
    Stop();
}

DWORD CLayerSwitchThread::Run() {
    while (m_tool->Step()) {
        for (int i = 0; i < kWaitsPerStep; ++i) {
            // No further step: the display that asks is being destroyed.
            if (ShouldStop(kWait)) {
                return 0;
            }
        }
    }
    return 0;
}

}  // namespace Terrascope

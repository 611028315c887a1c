#pragma once

namespace Terrascope {

/// One step of an animated layer switch, as the switch thread drives it.
class ILayerSwitchTool {
public:
    virtual ~ILayerSwitchTool() = default;

    /// True while the thread shall go on calling. Called on the switch thread.
    virtual bool Step() = 0;
};

}  // namespace Terrascope

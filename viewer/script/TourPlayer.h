#pragma once

#include <string>
#include <vector>

#include "viewer/script/TourScript.h"

namespace Viewer {

class CMainFrame;

/// Plays a tour in the real window, by the messages that a user's mouse would send, and prints one
/// line of JSON for each step: what, how long it took, the frames painted meanwhile, the longest.
///
/// Borrows: the window, which must outlive the player.
/// Threads: the user-interface thread; Play runs the program's messages.
class CTourPlayer {
public:
    /// A wait step ends after `timeoutSeconds` at the latest.
    CTourPlayer(CMainFrame& frame, double timeoutSeconds)
        : m_frame(frame), m_timeoutMs(timeoutSeconds * 1000) {}

    /// True when all steps were played; else `error` names the line and what is wrong.
    bool Play(const std::vector<TourStep>& steps, std::string& error);

private:
    bool PlayStep(const TourStep& step, std::string& error);

    // One for each kind of step; the result is empty, or what is wrong.
    std::string Act(const ToolStep& step);
    std::string Act(const DragStep& step);
    std::string Act(const ClickStep& step);
    std::string Act(const WheelStep& step);
    std::string Act(const KeyStep& step);
    std::string Act(const LayerStep& step);
    std::string Act(const CenterStep& step);
    std::string Act(const SizeStep& step);
    std::string Act(const WaitStep& step);
    std::string Act(const FramesStep& step);
    std::string Act(const SnapshotStep& step);
    std::string Act(const DropStep& step);

    void SendMouse(UINT message, WPARAM keys, PixelPoint at);

    CMainFrame& m_frame;
    double m_timeoutMs;
    bool m_timedOut = false;  ///< the current step waited in vain
};

}  // namespace Viewer

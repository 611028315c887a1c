#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "terrascope/api/ITerrascope.h"
#include "viewer/TextValues.h"

namespace Viewer {

struct ToolStep {
    Terrascope::MapToolKind tool;
};
/// Presses at `from`, moves in `moves` equal parts to `to`, releases there.
struct DragStep {
    PixelPoint from;
    PixelPoint to;
    int moves;
};
struct ClickStep {
    PixelPoint at;
};
/// Wheel notches at a point, away from the user positive.
struct WheelStep {
    int notches;
    PixelPoint at;
};
/// A key of the map view, as a virtual key code.
struct KeyStep {
    unsigned key;
};
struct LayerStep {
    int layer;
};
struct CenterStep {
    MapPoint center;
};
struct SizeStep {
    PixelSize size;
};
/// Until the picture is complete.
struct WaitStep {};
/// Until so many more frames are painted, or the picture is complete.
struct FramesStep {
    int count;
};
/// At once, as the window is: also in the middle of an animation.
struct SnapshotStep {
    std::string file;
};

/// A file or folder that is dropped on the window.
struct DropStep {
    std::string file;
};

using TourAction = std::variant<ToolStep, DragStep, ClickStep, WheelStep, KeyStep, LayerStep,
                                CenterStep, SizeStep, WaitStep, FramesStep, SnapshotStep, DropStep>;

struct TourStep {
    int line;          ///< counted from 1
    std::string text;  ///< the line without blanks around and comment
    TourAction action;
};

/// The steps of a script; blank lines and comments (a # at the start or after a blank) are none.
/// At the first bad line the result is empty and `error` names the line and what was expected.
std::optional<std::vector<TourStep>> ParseTour(std::string_view script, std::string& error);

}  // namespace Viewer

#pragma once

namespace Viewer {

class CMapView;

struct PictureWait {
    bool complete = false;    ///< false: the time was over before
    double lastChangeMs = 0;  ///< when the last part came, after the view's ResetStatistics
};

/// Runs the program's messages until the view's picture is complete or `milliseconds` have passed.
/// The library does not report when all tiles are there: the picture counts as complete when the
/// view is quiet, is refreshed, and nothing more comes until it is quiet again. A tile that takes
/// longer than the quiet time comes too late.
PictureWait WaitForPicture(CMapView& view, double milliseconds);

}  // namespace Viewer

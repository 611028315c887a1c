#pragma once

class CMapWindow;

/// Whether the window, which may be hidden, shows the sample provider's map in full: handles the
/// program's messages until every pixel has its tile's colour; false after 20 seconds.
bool ShowsCheckerboard(CMapWindow& window);

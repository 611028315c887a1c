#pragma once

#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::LockOrder {

/// The order of a display's locks, for the checker: tile -> bitmap -> switch -> view. Each lock is
/// a member of the class whose data it guards, so none can name the next; each names the marks
/// between which it comes instead. Nobody takes a mark.
class TERRASCOPE_CAPABILITY("mark") Mark {};

inline Mark afterTiles;
inline Mark afterBitmap TERRASCOPE_ACQUIRED_AFTER(afterTiles);
inline Mark afterSwitch TERRASCOPE_ACQUIRED_AFTER(afterBitmap);

}  // namespace Terrascope::LockOrder

#include "plugins/web/Clock.h"

#include <chrono>

namespace Terrascope::Plugins {

UnixSeconds Clock::Utc() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace Terrascope::Plugins

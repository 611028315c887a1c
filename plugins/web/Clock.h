#pragma once

#include <cstdint>

#include "plugins/web/Cancellation.h"
#include "plugins/web/HttpDate.h"

namespace Terrascope::Plugins {

/// Milliseconds. Tests have one that they set.
using Milliseconds = std::int64_t;

/// The time that back-off and memories count in. Threads: any.
class Clock {
public:
    virtual ~Clock() = default;

    /// Since some start; never less than before.
    virtual Milliseconds Now() { return static_cast<Milliseconds>(::GetTickCount64()); }

    /// The time of the day, which may be set; to compare with a server's.
    virtual UnixSeconds Utc();

    /// Waits; false when it was cancelled meanwhile.
    virtual bool Rest(Milliseconds duration, const Cancellation& cancellation) {
        return !cancellation.Wait(static_cast<DWORD>(duration));
    }
};

}  // namespace Terrascope::Plugins

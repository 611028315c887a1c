#pragma once

#include "plugins/common/kept/TileFreshness.h"
#include "plugins/web/HttpTransfer.h"

namespace Terrascope::Plugins {

/// How long an answer is fresh from the time that it came: by max-age, else by Expires (against the
/// server's own clock, where it states it), less the Age that it already had; never longer than a
/// year. No statement of either: seven days. What is stated but cannot be read is stale at once, as
/// is "no-cache". Entity tag and date are left out where they are not what they ought to be.
/// Source: RFC 9110, sections 8.8 and 10.2; RFC 9111, sections 4.2 and 5.
TileFreshness FreshnessOf(const HttpResponse& response);

/// The same for a 304: what it does not state stays as it was. `known` may hold anything.
TileFreshness Renewed(const TileFreshness& known, const HttpResponse& notModified);

/// The headers that ask for a tile only if it differs from the known one; none where nothing can be
/// compared. `known` may hold anything: values that are no entity tag and no date are not sent.
HttpHeaders ConditionsOf(const TileFreshness& known);

}  // namespace Terrascope::Plugins

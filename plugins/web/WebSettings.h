#pragma once

#include <afx.h>

#include "plugins/web/HttpFetcher.h"

namespace Terrascope::Plugins {

/// The provider's section of Terrascope.ini beside the library: USER_AGENT, and HEADER_1 to
/// HEADER_9 ("Name: value"). What is no header is passed over with a line in the log, which has no
/// values. `isSecure`: keys go over https alone.
HttpIdentity ReadIdentity(bool isSecure);

/// The same from a named file.
HttpIdentity ReadIdentity(const CString& settingsFile, bool isSecure);

}  // namespace Terrascope::Plugins

#pragma once

#include <afx.h>

namespace Terrascope::Plugins {

/// The remark of a map: the description, what its units are if it is in Mercator's projection, and
/// on a line of its own the attribution if there is one. Line breaks within them become blanks, so
/// that a host finds the attribution.
CString MapRemark(const CString& description, bool isMercator, const CString& attribution);

/// What a remark of MapRemark was made of.
struct MapRemarkParts {
    CString description;
    bool isMercator = false;
    CString attribution;
};
MapRemarkParts PartsOf(const CString& remark);

}  // namespace Terrascope::Plugins

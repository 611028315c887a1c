#pragma once

#include <afx.h>

namespace Terrascope {

/// Extensions of the maker's programs, drawings and drawing templates; built before the library's
/// entry point runs.
extern const CString kProgramExtension;
extern const CString kDrawingExtension;
extern const CString kDrawingTemplateExtension;

}  // namespace Terrascope

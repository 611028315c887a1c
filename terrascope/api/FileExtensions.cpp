#include "terrascope/api/FileExtensions.h"

namespace Terrascope {

const CString kProgramExtension(".exe");
const CString kDrawingExtension(".drw");
const CString kDrawingTemplateExtension(".drwtpl");

}  // namespace Terrascope

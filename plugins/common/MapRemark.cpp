#include "plugins/common/MapRemark.h"

namespace Terrascope::Plugins {
namespace {

constexpr char kMercatorUnits[] =
    "Web Mercator: x in degrees of longitude, y is the ordinate on the same scale.";

CString OneLine(CString text) {
    text.Replace('\r', ' ');
    text.Replace('\n', ' ');
    text.Trim();
    return text;
}

}  // namespace

CString MapRemark(const CString& description, bool isMercator, const CString& attribution) {
    CString remark = OneLine(description);
    if (isMercator) {
        remark += remark.IsEmpty() ? "" : " ";
        remark += kMercatorUnits;
    }
    const CString line = OneLine(attribution);
    return line.IsEmpty() ? remark : remark + "\n" + line;
}

}  // namespace Terrascope::Plugins

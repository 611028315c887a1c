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

MapRemarkParts PartsOf(const CString& remark) {
    MapRemarkParts parts;
    const int end = remark.Find('\n');
    parts.description = end < 0 ? remark : remark.Left(end);
    parts.attribution = end < 0 ? "" : remark.Mid(end + 1);
    parts.isMercator = parts.description.Replace(kMercatorUnits, "") > 0;
    parts.description.Trim();
    return parts;
}

}  // namespace Terrascope::Plugins

#include "viewer/MapRecords.h"

#include <memory>

#include "terrascope/api/MapAssistant.h"

namespace Viewer {

std::vector<MapRecord> ReadMaps() {
    std::vector<MapRecord> maps;
    for (const Terrascope::tagTILE_MAP_INFO* entry : Terrascope::CMapAssistant::GetMapList()) {
        const std::unique_ptr<const Terrascope::tagTILE_MAP_INFO> record(entry);
        if (record != nullptr) {
            maps.push_back({record->strName.GetString(), record->strRemark.GetString()});
        }
    }
    return maps;
}

std::string AttributionOf(const std::string& remark) {
    const size_t end = remark.find_last_not_of("\r\n");
    const size_t lineBreak = remark.find_last_of("\r\n", end);
    return lineBreak == std::string::npos ? "" : remark.substr(lineBreak + 1, end - lineBreak);
}

}  // namespace Viewer

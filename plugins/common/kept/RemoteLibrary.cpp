#include "plugins/common/kept/RemoteLibrary.h"

#include <algorithm>
#include <tuple>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

auto OrderOf(const SYSTEMTIME& time) {
    return std::tuple(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
}

bool IsSameRecord(const tagTILE_MAP_INFO& a, const tagTILE_MAP_INFO& b) {
    const auto rest = [](const tagTILE_MAP_INFO& map) {
        return std::tuple(OrderOf(map.stUpdateTime), map.nLayerCount, map.nFirstLayer,
                          map.dLongitudeStart, map.dLatitudeStart, map.dLongitude, map.dLatitude,
                          map.nTileWidth, map.nTileHeight);
    };
    return a.strName == b.strName && a.strTileFormat == b.strTileFormat &&
           a.strRemark == b.strRemark && rest(a) == rest(b);
}

}  // namespace

std::shared_ptr<const RemoteLibrary> RemoteLibrary::Make(KeptMaps maps, bool isCurrent) {
    auto library = std::make_shared<RemoteLibrary>();
    library->maps = std::move(maps);
    library->isCurrent = isCurrent;
    library->text = WriteDescriptions(library->maps);
    for (std::size_t i = 0; i < library->maps.size(); ++i) {
        library->places.emplace(FoldCase(ViewOf(library->maps[i]->info.strName)), i);
    }
    return library;
}

std::shared_ptr<const KeptMap> RemoteLibrary::Find(const CString& name) const {
    const auto place = places.find(FoldCase(ViewOf(name)));
    return place != places.end() ? maps[place->second] : nullptr;
}

bool RemoteLibrary::HasRecords(const std::vector<tagTILE_MAP_INFO>& records) const {
    return std::equal(
        records.begin(), records.end(), maps.begin(), maps.end(),
        [](const tagTILE_MAP_INFO& record, const std::shared_ptr<const KeptMap>& map) {
            return IsSameRecord(record, map->info);
        });
}

bool IsEarlier(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return OrderOf(a) < OrderOf(b);
}

}  // namespace Terrascope::Plugins

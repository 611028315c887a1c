#include "plugins/common/kept/RemoteLibrary.h"

#include <algorithm>
#include <tuple>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

auto OrderOf(const SYSTEMTIME& time) {
    return std::tuple(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
}

auto PlacesOf(const tagTILE_MAP_INFO& map) {
    return std::tuple(map.nFirstLayer, map.dLongitudeStart, map.dLatitudeStart, map.dLongitude,
                      map.dLatitude, map.nTileWidth, map.nTileHeight);
}

bool IsSameRecord(const tagTILE_MAP_INFO& a, const tagTILE_MAP_INFO& b) {
    return a.strName == b.strName && a.strTileFormat == b.strTileFormat &&
           a.strRemark == b.strRemark && a.nLayerCount == b.nLayerCount &&
           OrderOf(a.stUpdateTime) == OrderOf(b.stUpdateTime) && HasSamePlaces(a, b);
}

}  // namespace

std::shared_ptr<const RemoteLibrary> RemoteLibrary::Make(KeptMaps maps,
                                                         std::vector<tagTILE_MAP_INFO> records,
                                                         bool isCurrent) {
    auto library = std::make_shared<RemoteLibrary>();
    library->records = std::move(records);
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

bool RemoteLibrary::HasRecords(const std::vector<tagTILE_MAP_INFO>& others) const {
    return std::equal(records.begin(), records.end(), others.begin(), others.end(), IsSameRecord);
}

bool HasSamePlaces(const tagTILE_MAP_INFO& a, const tagTILE_MAP_INFO& b) {
    return PlacesOf(a) == PlacesOf(b);
}

bool IsEarlier(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return OrderOf(a) < OrderOf(b);
}

}  // namespace Terrascope::Plugins

#include "terrascope/tiles/PictureScaling.h"

#include <algorithm>
#include <cstring>

namespace Terrascope {

NearestPlaces::NearestPlaces(int toStart, int toSize, int targetSize, int fromStart, int fromSize,
                             int sourceSize) {
    const int begin = std::max(0, -toStart);
    const int end = std::min(toSize, targetSize - toStart);
    places.reserve(static_cast<std::size_t>(std::max(0, end - begin)));
    for (int i = begin; i < end; ++i) {
        const std::int64_t place = fromStart + std::int64_t{i} * fromSize / toSize;
        if (place >= 0 && place < sourceSize) {
            first = places.empty() ? toStart + i : first;
            places.push_back(static_cast<int>(place));
        }
    }
}

std::pair<int, int> NearestPlaces::From(int begin, int end) const {
    const auto count = [&](int limit) {
        return static_cast<int>(std::lower_bound(places.begin(), places.end(), limit) -
                                places.begin());
    };
    return {first + count(begin), first + count(end)};
}

void ScalePart(CTilePicture& target, const CRect& to, const CTilePicture& source,
               const CRect& from) {
    if (to.IsRectEmpty() || from.IsRectEmpty()) {
        return;
    }
    const NearestPlaces columns(to.left, to.Width(), target.Width(), from.left, from.Width(),
                                source.Width());
    const NearestPlaces rows(to.top, to.Height(), target.Height(), from.top, from.Height(),
                             source.Height());
    int y = rows.first;
    int drawnRow = -1;
    for (const int fromRow : rows.places) {
        std::uint32_t* place = target.Row(y) + columns.first;
        if (fromRow == drawnRow) {
            std::memcpy(place, target.Row(y - 1) + columns.first,
                        columns.places.size() * sizeof(std::uint32_t));
        } else {
            const std::uint32_t* line = source.Row(fromRow);
            for (const int fromColumn : columns.places) {
                *place++ = line[fromColumn];
            }
        }
        drawnRow = fromRow;
        ++y;
    }
}

}  // namespace Terrascope

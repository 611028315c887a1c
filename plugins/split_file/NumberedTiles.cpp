#include "plugins/split_file/NumberedTiles.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "plugins/common/FolderFiles.h"
#include "plugins/common/MapRemark.h"
#include "plugins/common/SafePath.h"
#include "plugins/common/kept/KeptSettings.h"
#include "terrascope/tiles/ImageHeader.h"

namespace Terrascope::Plugins {
namespace {

constexpr std::wstring_view kEndings[] = {L".png", L".jpg", L".jpeg", L".webp", L".gif"};
constexpr std::size_t kMostColumns = 4096;  // folders of the first level that are looked into
constexpr std::size_t kLargestTileFile = std::size_t{64} * 1024 * 1024;  // bytes

/// A number as a program writes it: no sign, no zero in front.
std::optional<std::uint32_t> ParseNumber(std::wstring_view text, std::uint32_t end) {
    std::uint64_t number = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9' || number >= end) {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint64_t>(digit - L'0');
    }
    const bool isPlain = !text.empty() && (text.size() == 1 || text[0] != L'0');
    return isPlain && number < end ? std::optional(static_cast<std::uint32_t>(number))
                                   : std::nullopt;
}

/// What the files of the first level are.
struct FirstLevel {
    std::wstring ending;
    std::wstring image;  ///< the path of one
    std::uint32_t leastColumn = 0;
    std::uint32_t mostColumn = 0;
    std::uint32_t leastRow = UINT32_MAX;
    std::uint32_t mostRow = 0;
};

/// Takes the files of one column; false when one is no tile, or has another ending.
bool TakeColumn(const std::wstring& folder, std::uint32_t end, FirstLevel& level) {
    for (const std::wstring& name : ListFiles(folder).value_or(std::vector<std::wstring>())) {
        const std::size_t dot = std::min(name.find(L'.'), name.size());
        const std::wstring ending = name.substr(dot);
        const auto row = ParseNumber(std::wstring_view(name).substr(0, dot), end);
        if (!row ||
            std::find(std::begin(kEndings), std::end(kEndings), ending) == std::end(kEndings)) {
            return false;
        }
        if (level.image.empty()) {
            level.ending = ending;
            level.image = std::wstring(folder).append(1, L'\\').append(name);
        }
        if (level.ending != ending) {
            return false;
        }
        level.leastRow = std::min(level.leastRow, *row);
        level.mostRow = std::max(level.mostRow, *row);
    }
    return true;
}

std::optional<FirstLevel> ReadFirstLevel(const std::wstring& folder, int zoom) {
    const std::uint32_t end = 1U << zoom;
    const std::vector<std::uint32_t> columns = NumberedFolders(folder, end);
    if (columns.empty() || columns.size() > kMostColumns) {
        return std::nullopt;
    }
    FirstLevel level;
    level.leastColumn = columns.front();
    level.mostColumn = columns.back();
    for (const std::uint32_t column : columns) {
        if (!TakeColumn(folder + L'\\' + std::to_wstring(column), end, level)) {
            return std::nullopt;
        }
    }
    return level.image.empty() ? std::nullopt : std::optional(std::move(level));
}

}  // namespace

std::vector<std::uint32_t> NumberedFolders(const std::wstring& folder, std::uint32_t end) {
    std::vector<std::uint32_t> numbers;
    for (const FolderFacts& facts : ListFolders(folder).value_or(std::vector<FolderFacts>())) {
        if (IsKeptFolder(facts.name)) {
            continue;
        }
        const auto number = ParseNumber(facts.name, end);
        if (!number) {
            return {};
        }
        numbers.push_back(*number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::unique_ptr<MapDescription> ReadNumberedTiles(const std::wstring& folder,
                                                  const CString& folderName,
                                                  const SYSTEMTIME& updateTime) {
    const auto zooms = NumberedFolders(folder, kDeepestAddressableLayer + 1);
    const auto first = std::lower_bound(zooms.begin(), zooms.end(), 1U);
    if (first == zooms.end()) {
        return nullptr;
    }
    const int firstLayer = static_cast<int>(*first);
    const auto level = ReadFirstLevel(folder + L'\\' + std::to_wstring(*first), firstLayer);
    const auto bytes = level ? ReadWholeFile(level->image, kLargestTileFile) : std::nullopt;
    if (!bytes) {
        return nullptr;
    }
    const ImageHeader image = ReadImageHeader(*bytes);
    if (image.width == 0 || !IsSafeSize(image.width, image.height)) {
        return nullptr;
    }
    int count = 1;
    while (first + count != zooms.end() && *(first + count) == *first + count) {
        ++count;
    }
    const TilePyramid world = MercatorWorld(firstLayer);
    const double side = (world.extent.east - world.extent.west) / world.columns;
    const auto grid = TileGrid::Crop(world,
                                     {world.extent.west + side * level->leastColumn,
                                      world.extent.north - side * (level->mostRow + 1),
                                      world.extent.west + side * (level->mostColumn + 1),
                                      world.extent.north - side * level->leastRow},
                                     count);
    std::string reason;
    auto tilePath = TilePathTemplate::Parse("{layer}\\{column}\\{row}.{format}", reason);
    if (!grid || !tilePath) {
        return nullptr;
    }
    tagTILE_MAP_INFO info;
    info.strName = folderName;
    info.stUpdateTime = updateTime;
    info.strTileFormat = CString(level->ending.substr(1).c_str());
    info.nTileWidth = static_cast<std::int32_t>(image.width);
    info.nTileHeight = static_cast<std::int32_t>(image.height);
    info.strRemark = MapRemark("", true, "");
    grid->Describe(info);
    return std::make_unique<MapDescription>(
        MapDescription{folder, info, grid->Layers(info), *std::move(tilePath), *grid});
}

}  // namespace Terrascope::Plugins

#include "plugins/split_file/TileResource.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

#include "plugins/common/MapRemark.h"
#include "plugins/common/SafePath.h"
#include "plugins/common/XmlDocument.h"
#include "plugins/split_file/NumberedTiles.h"

namespace Terrascope::Plugins {
namespace {

constexpr double kMercatorHalf = 20037508.342789244;  // metres from the middle to the edge: pi x R
constexpr double kRightAngle = 90;
constexpr int kLargestTile = 8192;  // pixels
constexpr std::size_t kMostLevels = 64;

/// What the file has of use: each element's attributes as "Element.attribute", the texts of the
/// elements as "Element", and of the tile sets the units of a pixel by level.
struct Contents {
    std::map<std::wstring, std::wstring> values;
    std::map<int, double> unitsPerPixel;
};

void Keep(Contents& contents, const std::wstring& element,
          const std::map<std::wstring, std::wstring>& attributes) {
    if (element == L"TileSet" && contents.unitsPerPixel.size() < kMostLevels) {
        const auto order = attributes.find(L"order");
        const auto units = attributes.find(L"units-per-pixel");
        const auto level = order != attributes.end() ? XmlReal(order->second) : std::nullopt;
        if (level && *level >= 0 && *level <= kDeepestAddressableLayer) {
            contents.unitsPerPixel[static_cast<int>(*level)] =
                units != attributes.end() ? XmlReal(units->second).value_or(0) : 0;
        }
        return;
    }
    for (const auto& [name, value] : attributes) {
        std::wstring key = element;
        key += L'.';
        contents.values[key += name] = value;
    }
}

void Collect(const XmlElement& element, Contents& contents) {
    Keep(contents, element.name, element.attributes);
    contents.values[element.name] += element.text;
    for (const XmlElement& child : element.children) {
        Collect(child, contents);
    }
}

/// Reads values and remembers what is wrong: the first problem for which there is no map, and those
/// that are passed over.
class Values {
public:
    explicit Values(const Contents& contents) : m_contents(contents) {}

    std::wstring Text(const wchar_t* name) const {
        const auto found = m_contents.values.find(name);
        return found != m_contents.values.end() ? found->second : std::wstring();
    }
    double Real(const wchar_t* name, double least, double most, double fallback) {
        const std::wstring text = Text(name);
        if (text.empty()) {
            return fallback;
        }
        const auto value = XmlReal(text);
        if (!value || *value < least || *value > most) {
            m_passedOver.push_back({"TileMap", CString(name), "is not a number that can be used"});
            return fallback;
        }
        return *value;
    }
    /// For values without which there is no map.
    void RefuseWhatIsPassedOver() {
        if (!m_problem && !m_passedOver.empty()) {
            m_problem = m_passedOver.front();
        }
    }
    void Refuse(const wchar_t* key, const CString& reason) {
        if (!m_problem) {
            m_problem = MapProblem{"TileMap", CString(key), reason};
        }
    }
    const std::optional<MapProblem>& Problem() const { return m_problem; }
    const std::vector<MapProblem>& PassedOver() const { return m_passedOver; }

private:
    const Contents& m_contents;
    std::optional<MapProblem> m_problem;
    std::vector<MapProblem> m_passedOver;
};

/// The bounding box: of the pyramid's world where there is none, or one of its numbers is wrong.
MapExtent ReadBox(Values& values, const MapExtent& world) {
    constexpr double kFarthest = 1e9;
    const std::size_t before = values.PassedOver().size();
    MapExtent box{values.Real(L"BoundingBox.minx", -kFarthest, kFarthest, world.west),
                  values.Real(L"BoundingBox.miny", -kFarthest, kFarthest, world.south),
                  values.Real(L"BoundingBox.maxx", -kFarthest, kFarthest, world.east),
                  values.Real(L"BoundingBox.maxy", -kFarthest, kFarthest, world.north)};
    if (values.PassedOver().size() > before) {
        return world;  // its numbers are in units that the others do not show
    }
    if (!(box.west < box.east) || !(box.south < box.north)) {
        values.Refuse(L"BoundingBox", "is empty");
    }
    return box;
}

/// Older tilers wrote latitudes where longitudes belong. It shows where one is beyond the pole.
void SetDegreesRight(MapExtent& box) {
    if (std::max(std::abs(box.south), std::abs(box.north)) > kRightAngle &&
        std::max(std::abs(box.west), std::abs(box.east)) <= kRightAngle) {
        std::swap(box.west, box.south);
        std::swap(box.east, box.north);
    }
}

/// The box of a mercator map in the units of MercatorWorld: the tiler writes degrees whatever the
/// reference system is, others metres.
MapExtent MercatorBox(MapExtent box) {
    constexpr double kFullCircle = 360;
    if (std::max({std::abs(box.west), std::abs(box.east), std::abs(box.south),
                  std::abs(box.north)}) > kFullCircle) {
        constexpr double kScale = 180 / kMercatorHalf;
        return {box.west * kScale, box.south * kScale, box.east * kScale, box.north * kScale};
    }
    SetDegreesRight(box);
    return {box.west, MercatorOrdinate(box.south), box.east, MercatorOrdinate(box.north)};
}

/// A pyramid of the map's own: its rows count from the south edge, and the tiles of the north and
/// east edges reach beyond the picture.
TilePyramid OwnPyramid(Values& values, const MapExtent& box, double unitsPerPixel,
                       const tagTILE_MAP_INFO& info, int firstLayer) {
    const double width = unitsPerPixel * info.nTileWidth;
    const double height = unitsPerPixel * info.nTileHeight;
    const double columns = std::ceil((box.east - box.west) / width - 1e-6);
    const double rows = std::ceil((box.north - box.south) / height - 1e-6);
    const double most = static_cast<double>(1U << firstLayer);
    // Also what is no number.
    if (!(unitsPerPixel > 0 && columns >= 1 && columns <= most && rows >= 1 && rows <= most)) {
        values.Refuse(L"TileSet.units-per-pixel", "does not fit the bounding box");
        return {};
    }
    return {{box.west, box.south, box.west + columns * width, box.south + rows * height},
            static_cast<std::uint32_t>(columns),
            static_cast<std::uint32_t>(rows),
            firstLayer};
}

/// The levels from the first usable one that follow each other: first and count.
std::pair<int, int> Levels(const Contents& contents, int least) {
    const auto first = contents.unitsPerPixel.lower_bound(least);
    int count = 0;
    for (auto level = first; level != contents.unitsPerPixel.end(); ++level) {
        if (level->first != first->first + count) {
            break;
        }
        ++count;
    }
    return {count > 0 ? first->first : 0, count};
}

/// The plainest form of the names of tile files: letters and digits.
bool IsExtension(const std::wstring& text) {
    return !text.empty() && text.size() <= 5 &&
           std::all_of(text.begin(), text.end(), [](wchar_t c) {
               return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') ||
                      (c >= L'0' && c <= L'9');
           });
}

/// The world in degrees when level 0 is one tile of 360 degrees, whose upper half is above the
/// pole.
TilePyramid OneTileWorld(int level) {
    return {{-180, -90, 180, 270}, 1U << level, 1U << level, level};
}

/// How far the columns from `first` to `last` are from those that hold the box.
double Misfit(const MapExtent& box, double columnWidth, std::uint32_t first, std::uint32_t last) {
    constexpr double kOnTheEdge = 1e-6;  // of a column
    const double west = std::floor((box.west + 180) / columnWidth + kOnTheEdge);
    const double east = std::ceil((box.east + 180) / columnWidth - kOnTheEdge) - 1;
    return std::abs(first - west) + std::abs(last - east);
}

/// Whether level 0 is one tile of 360 degrees, as GDAL's tiler counts unless it is told to be
/// compatible with the Tile Map Service; its description is the same either way. The first level
/// whose columns differ decides.
bool CountsFromOneTile(const std::wstring& mapFolder, const Contents& contents,
                       const MapExtent& box) {
    for (const auto& [level, units] : contents.unitsPerPixel) {
        const auto columns =
            NumberedFolders(mapFolder + L'\\' + std::to_wstring(level), 2U << level);
        if (columns.empty()) {
            continue;
        }
        const double one = Misfit(box, std::ldexp(360.0, -level), columns.front(), columns.back());
        const double two = Misfit(box, std::ldexp(180.0, -level), columns.front(), columns.back());
        if (one != two) {
            return one < two;
        }
    }
    return false;
}

struct Profile {
    bool isMercator = false;
    bool isGeodetic = false;
};

Profile ReadProfile(Values& values) {
    const std::wstring name = values.Text(L"TileSets.profile");
    const Profile profile{name == L"mercator" || name == L"global-mercator",
                          name == L"geodetic" || name == L"global-geodetic"};
    if (!profile.isMercator && !profile.isGeodetic && name != L"raster" && name != L"local") {
        values.Refuse(L"TileSets.profile", "is not mercator, geodetic or raster");
    }
    return profile;
}

}  // namespace

MapReading ReadTileResource(std::span<const std::uint8_t> file, const std::wstring& mapFolder,
                            const CString& folderName, const SYSTEMTIME& updateTime) {
    const std::optional<XmlElement> root = ReadXml(file);
    if (!root) {
        return {nullptr, {{"TileMap", "", "the file is no well-formed XML"}}};
    }
    Contents contents;
    Collect(*root, contents);
    Values values(contents);
    tagTILE_MAP_INFO info;
    info.stUpdateTime = updateTime;
    info.strName = ToNarrow(values.Text(L"Title")).value_or("").Trim();
    if (info.strName.IsEmpty() || info.strName.GetLength() > kLongestMapName) {
        info.strName = folderName;
    }
    const std::wstring extension = values.Text(L"TileFormat.extension");
    if (!IsExtension(extension)) {
        values.Refuse(L"TileFormat.extension", "is not the ending of a file name");
    }
    info.strTileFormat = CString(extension.c_str());
    const Profile profile = ReadProfile(values);
    MapExtent box =
        ReadBox(values, profile.isMercator ? MercatorWorld(1).extent : GeodeticWorld(1).extent);
    if (profile.isGeodetic) {
        SetDegreesRight(box);
    } else if (!profile.isMercator) {
        values.RefuseWhatIsPassedOver();  // there is no world to take the box of
    }
    info.nTileWidth = static_cast<int>(values.Real(L"TileFormat.width", 1, kLargestTile, 256));
    info.nTileHeight = static_cast<int>(values.Real(L"TileFormat.height", 1, kLargestTile, 256));
    const bool hasTwoTiles = profile.isGeodetic && !CountsFromOneTile(mapFolder, contents, box);
    const auto [level, count] = Levels(contents, hasTwoTiles ? 0 : 1);
    if (count == 0) {
        values.Refuse(L"TileSet.order", "there is no level that can be used");
    }
    const int firstLayer = hasTwoTiles ? level + 1 : std::max(level, 1);
    TilePyramid pyramid;
    if (profile.isMercator) {
        pyramid = MercatorWorld(firstLayer);
        box = MercatorBox(box);
    } else if (profile.isGeodetic) {
        pyramid = hasTwoTiles ? GeodeticWorld(firstLayer) : OneTileWorld(firstLayer);
    } else {
        const auto units = contents.unitsPerPixel.find(level);
        pyramid = OwnPyramid(values, box, units != contents.unitsPerPixel.end() ? units->second : 0,
                             info, firstLayer);
    }
    const int layers = std::min(count, kDeepestAddressableLayer + 1 - firstLayer);
    const std::optional<TileGrid> grid = TileGrid::Crop(pyramid, box, layers);
    if (!grid) {
        values.Refuse(L"BoundingBox", "holds no tile of the first level");
    }
    if (values.Problem()) {
        return {nullptr, {*values.Problem()}};
    }
    std::string reason;
    auto tilePath =
        TilePathTemplate::Parse(hasTwoTiles ? "{layer-1}\\{column}\\{row-from-bottom}.{format}"
                                            : "{layer}\\{column}\\{row-from-bottom}.{format}",
                                reason);
    info.strRemark =
        MapRemark(ToNarrow(values.Text(L"Abstract")).value_or(""), profile.isMercator, "");
    grid->Describe(info);
    return {std::make_unique<MapDescription>(
                MapDescription{{}, info, grid->Layers(info), *std::move(tilePath), *grid}),
            values.PassedOver()};
}

}  // namespace Terrascope::Plugins

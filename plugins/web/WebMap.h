#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugins/common/TileGrid.h"
#include "plugins/web/HttpFetcher.h"
#include "plugins/web/TileAddressTemplate.h"

namespace Terrascope::Plugins {

/// How a provider reaches servers.
struct WebAccess {
    HttpFetcher& fetcher;
    HttpIdentity identity;
};

/// What a data path or a document states of a map; UTF-8, of any length and content.
struct MapFacts {
    std::string name;
    std::string description;
    std::string attribution;  ///< HTML
    std::string format;
    std::optional<int> minZoom;
    std::optional<int> maxZoom;
    std::optional<std::array<double, 4>> bounds;  ///< west, south, east, north in degrees
    std::optional<int> tileSize;                  ///< pixels
    UnixSeconds updated = 0;                      ///< 0: it is not stated
};

/// Where the tiles of one map come from. Threads: any number may load at once.
class ITileSource {
public:
    virtual ~ITileSource() = default;

    /// `layer` is the layer's number in the library, `tile` the place in the map's pyramid.
    /// `conditions` are headers by which the server may answer that a known tile is still right;
    /// where the tile has no address of its own, they make no difference.
    virtual HttpResult Load(int layer, const PyramidTile& tile, const WebAccess& access,
                            const Cancellation& cancellation,
                            const HttpHeaders& conditions) const = 0;
};

/// One map of a server; constant once it is made.
struct WebMap {
    tagTILE_MAP_INFO info;
    TileGrid grid;
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    std::shared_ptr<const ITileSource> source;
};

using WebLibrary = std::vector<std::shared_ptr<const WebMap>>;

/// A map of a pyramid, in whole tiles of its first layer. `extent` is in the pyramid's units, the
/// zoom levels of `facts` count. Null, with the reason, when it would have no tile.
std::shared_ptr<const WebMap> MakeMap(const MapFacts& facts, const TilePyramid& pyramid,
                                      const MapExtent& extent, int layerCount, bool isMercator,
                                      std::shared_ptr<const ITileSource> source,
                                      std::string& reason);

/// A map in the grid of web maps: layer n is zoom level n, and zoom level 0 is not offered, since
/// its tile has no key. `deepest` is the last zoom level of a map that states none.
std::shared_ptr<const WebMap> MakeMercatorMap(const MapFacts& facts, int deepest,
                                              std::shared_ptr<const ITileSource> source,
                                              std::string& reason);

/// The tiles that a template's addresses have.
class CTemplateSource : public ITileSource {
public:
    /// Each tile has one of the templates. With `isFromSouth`, {y} counts from the south.
    CTemplateSource(std::vector<TileAddressTemplate> templates, bool isFromSouth)
        : m_templates(std::move(templates)), m_isFromSouth(isFromSouth) {}

    HttpResult Load(int layer, const PyramidTile& tile, const WebAccess& access,
                    const Cancellation& cancellation, const HttpHeaders& conditions) const override;

private:
    const std::vector<TileAddressTemplate> m_templates;  ///< at least one
    const bool m_isFromSouth;
};

}  // namespace Terrascope::Plugins

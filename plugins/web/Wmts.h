#pragma once

#include "plugins/common/XmlDocument.h"
#include "plugins/web/DataPath.h"

namespace Terrascope::Plugins {

/// What a layer of a capabilities document is left out for.
struct WmtsProblem {
    std::string layer;
    std::string reason;
};

/// The layers of a WMTS capabilities document as maps: in web Mercator if they are offered in it,
/// else in degrees (EPSG:4326, CRS84). Their matrix sets must halve: each matrix has twice the
/// resolution of the one before it, and the same corner. Addresses come from the layer's template
/// if it has one, else tiles are asked for by key and value. `address` is the document's own.
/// Source: OGC 07-057r7, OpenGIS Web Map Tile Service 1.0.0.
std::vector<std::shared_ptr<const WebMap>> ReadWmts(const XmlElement& capabilities,
                                                    const HttpAddress& address,
                                                    const DataPath& path,
                                                    std::vector<WmtsProblem>& problems);

/// The tiles of one layer in one matrix set.
class CWmtsSource : public ITileSource {
public:
    struct Matrix {
        std::string id;  ///< UTF-8
        std::uint32_t columns = 0;
        std::uint32_t rows = 0;
    };
    /// {TileMatrix}, {TileRow} and {TileCol} of the pattern are put in for each tile. The first
    /// matrix has the tiles of `firstLayer`.
    CWmtsSource(std::string pattern, int firstLayer, std::vector<Matrix> matrices)
        : m_pattern(std::move(pattern)),
          m_firstLayer(firstLayer),
          m_matrices(std::move(matrices)) {}

    HttpResult Load(int layer, const PyramidTile& tile, const WebAccess& access,
                    const Cancellation& cancellation, const HttpHeaders& conditions) const override;

private:
    const std::string m_pattern;
    const int m_firstLayer;
    const std::vector<Matrix> m_matrices;
};

}  // namespace Terrascope::Plugins

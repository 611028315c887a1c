#pragma once

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plugins/common/TileGrid.h"
#include "plugins/common/XmlDocument.h"
#include "plugins/web/Wmts.h"

namespace Terrascope::Plugins {

/// The matrices of a set that halve from one to the next, from the coarsest that can have a layer.
struct WmtsPyramid {
    TilePyramid pyramid;                        ///< in degrees, or in the units of MercatorWorld
    std::vector<CWmtsSource::Matrix> matrices;  ///< the first one of the pyramid's first layer
    int tileSize = 0;                           ///< pixels
    bool isMercator = false;
};

/// Two numbers with blanks between them, as corners are written.
std::optional<std::array<double, 2>> ParseWmtsPair(const std::wstring& text);

/// Reads a TileMatrixSet. With `limits`, of the matrices that it names. The layer's number is the
/// least whose keys can name all tiles of the matrix: that is the zoom level of web maps. Nothing,
/// with the reason, when the set cannot be used.
std::optional<WmtsPyramid> ReadWmtsPyramid(const XmlElement& set,
                                           const std::set<std::wstring>& limits,
                                           std::string& reason);

}  // namespace Terrascope::Plugins

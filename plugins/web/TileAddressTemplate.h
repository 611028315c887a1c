#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/common/TileGrid.h"
#include "plugins/web/HttpAddress.h"

namespace Terrascope::Plugins {

/// A pattern for the addresses of tiles, such as "https://{s}.example.org/{z}/{x}/{y}.png".
///
/// {z}, {x} and {y} are zoom level, column, and row from the north; {-y} is the row from the south,
/// {q} the quadrant key. {s} is one of the letters a, b and c, {a-d} one from a to d; which one
/// depends on column and row alone, so that a tile has one address. {r} is nothing.
///
/// Constant: any number of threads may expand it.
class TileAddressTemplate {
public:
    /// Nothing when the pattern is none, or its addresses would be none; `reason` is then why.
    /// `base` is the document that has the pattern, against which it may be relative; null: none.
    static std::optional<TileAddressTemplate> Parse(std::string_view pattern,
                                                    const HttpAddress* base, std::string& reason);

    /// `zoom` is the tile's zoom level, 1 to 30, whose columns and rows `tile` counts in.
    std::optional<HttpAddress> Expand(int zoom, const PyramidTile& tile) const;

    /// The ending of the addresses' paths, such as "png"; empty when they have none.
    std::string Ending() const;
    /// The host, for a map without a name.
    std::string Host() const;

private:
    enum class Kind { Literal, Zoom, Column, Row, RowFromSouth, Key, Letter };
    struct Piece {
        Kind kind = Kind::Literal;
        std::string text = {};  ///< a literal, or the letters to choose from
    };
    static std::optional<Piece> ParseField(std::string_view field);

    std::vector<Piece> m_pieces;
};

/// The quadrant key of a tile: a digit for each zoom level.
std::string QuadKey(int zoom, const PyramidTile& tile);

}  // namespace Terrascope::Plugins

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/common/TileGrid.h"

namespace Terrascope::Plugins {

/// A pattern for the names of tile files, such as "{layer-1}\{row:6}\{row:6}_{column:6}.jpg".
///
/// {layer}, {column}, {row} and {row-from-bottom} are numbers in decimals; "+n" or "-n" after the
/// name adds to the number, ":n" at the end pads it with zeros to n digits. {key} is the tile's
/// key, {format} the map's tile format. Everything else is copied; there is no way to write a
/// brace.
///
/// Threads: any number may expand one template.
class TilePathTemplate {
public:
    /// Nothing when the pattern is not one; `reason` is then why.
    static std::optional<TilePathTemplate> Parse(std::string_view pattern, std::string& reason);

    /// The name of one tile's file; nothing when an offset makes a number negative. The result may
    /// lead anywhere: it is text, see JoinUnder.
    std::optional<std::string> Expand(int layer, const PyramidTile& tile, std::string_view key,
                                      std::string_view format) const;

private:
    enum class Kind { Literal, Layer, Column, Row, RowFromBottom, Key, Format };
    struct Piece {
        Kind kind = Kind::Literal;
        std::string literal;
        std::int64_t offset = 0;
        std::size_t width = 0;
    };

    static std::optional<Piece> ParseField(std::string_view field);

    std::vector<Piece> m_pieces;
};

}  // namespace Terrascope::Plugins

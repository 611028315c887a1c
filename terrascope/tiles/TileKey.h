#pragma once

#include <afx.h>

#include <cstdint>

namespace Terrascope {

/// A tile's place in its layer: columns from the map's left edge, rows from its top edge.
struct TileIndex {
    std::uint32_t column = 0;
    std::uint32_t row = 0;
};

/// A layer number above this has no tiles: no map is that deep, and its keys would fill memory.
constexpr int kDeepestLayer = 1024;

/// The key of a tile: one quadrant digit per layer below the single root tile, most significant
/// first; digit = column bit + 2 x row bit. Empty ("no tile there") for a layer below 1 or above
/// kDeepestLayer. Only the low 32 bits of a place count: in deeper layers they repeat.
CString MakeTileKey(std::uint32_t column, std::uint32_t row, int layerNumber);

/// The place that a key names; false at the first character that is no digit from 0 to 4. The sums
/// up to there stay in `index`. The empty key is (0, 0).
bool DecodeTileKey(const CString& key, TileIndex& index);

}  // namespace Terrascope

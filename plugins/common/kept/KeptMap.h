#pragma once

#include <afx.h>

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugins/common/TileAddress.h"
#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope::Plugins {

/// A tile's place in the file that keeps it: rows from the bottom, as MBTiles has them.
struct KeptPlace {
    int zoom = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;

    auto operator<=>(const KeptPlace&) const = default;
};

/// A remote map as the local side keeps it: its description, and where its tiles go. Constant once
/// it is made, and shared.
///
/// A map on the grid of web maps has its tiles under the world's columns and rows, so that other
/// programs find them at the right place; any other map under its own, which count from its corner.
class KeptMap {
public:
    /// `identity` is that of the source. Null when the name is not valid in the active code page.
    static std::shared_ptr<const KeptMap> Make(const std::string& identity,
                                               const tagTILE_MAP_INFO& info,
                                               std::vector<tagTILE_MAP_LAYER_INFO> layers);

    tagTILE_MAP_INFO info;
    std::vector<tagTILE_MAP_LAYER_INFO> layers;
    /// The update time of the map that the kept tiles come from, or of an earlier one.
    SYSTEMTIME tilesSince{};

    const std::string& Identity() const { return m_identity; }  ///< the source's
    bool IsOnWorldGrid() const { return m_isOnWorldGrid; }
    /// Whose it is: the same for names that differ in case alone. UTF-8.
    const std::string& Key() const { return m_key; }
    /// Names of files, without folder, in the order in which they are looked for: the second one is
    /// the usual one, the first one for where another source's map has that.
    const std::wstring& OwnFileName() const { return m_ownFileName; }
    const std::wstring& FileName() const { return m_fileName; }
    /// What makes a tile's place: with another text, the tiles are others.
    const std::string& GridText() const { return m_gridText; }

    const tagTILE_MAP_LAYER_INFO* FindLayer(int number) const;
    /// Nothing for a tile that the map does not have.
    std::optional<KeptPlace> Locate(const TileAddress& address) const;

private:
    KeptMap() = default;
    void PlaceOnWorldGrid();

    std::string m_identity;
    std::string m_key;
    std::wstring m_fileName;
    std::wstring m_ownFileName;
    std::string m_gridText;
    bool m_isOnWorldGrid = false;
    // Of the first layer's north-west tile, in the world's numbers:
    std::int64_t m_firstColumn = 0;
    std::int64_t m_firstRow = 0;
};

/// A number as a text of the shortest digits that lead back to it, whatever the locale.
std::string TextOfReal(double value);

/// Sixteen hexadecimal digits of a text, the same in every process.
std::string DigestOf(std::string_view text);

}  // namespace Terrascope::Plugins

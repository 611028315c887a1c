#pragma once

#include <cstdint>
#include <list>
#include <span>

#include "plugins/common/TileAddress.h"
#include "plugins/common/WithoutThrowing.h"
#include "terrascope/providers/TileMapRecords.h"

namespace Terrascope::Plugins {

/// One tile as LoadTiles returns it; the record belongs to the caller.
std::list<tagTILE_IMAGE*> OneTile(const TileAddress& address, const CString& key,
                                  std::span<const std::uint8_t> bytes);

/// What `load` returns for each key, in their order. Each on its own: one that fails costs no
/// other, and is logged with the provider's name.
template <class TLoad>
std::list<tagTILE_IMAGE*> LoadEach(const char* provider, const std::list<CString>& keys,
                                   TLoad load) {
    std::list<tagTILE_IMAGE*> tiles;
    for (const CString& key : keys) {
        tiles.splice(tiles.end(), WithoutThrowing<std::list<tagTILE_IMAGE*>>(
                                      provider, [&] { return load(key); }));
    }
    return tiles;
}

}  // namespace Terrascope::Plugins

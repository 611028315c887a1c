#include "plugins/common/TileAddress.h"

namespace Terrascope::Plugins {

std::optional<TileAddress> ParseTileKey(std::string_view key) {
    if (key.empty() || key.size() > kDeepestAddressableLayer) {
        return std::nullopt;
    }
    TileAddress address;
    address.layer = static_cast<int>(key.size());
    for (const char digit : key) {
        if (digit < '0' || digit > '3') {
            return std::nullopt;
        }
        const auto quadrant = static_cast<std::uint32_t>(digit - '0');
        address.column = address.column * 2 + quadrant % 2;
        address.row = address.row * 2 + quadrant / 2;
    }
    return address;
}

}  // namespace Terrascope::Plugins

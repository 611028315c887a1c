#include "plugins/common/TileDelivery.h"

#include <memory>

namespace Terrascope::Plugins {

std::list<tagTILE_IMAGE*> OneTile(const TileAddress& address, const CString& key,
                                  std::span<const std::uint8_t> bytes) {
    auto image = std::make_unique<tagTILE_IMAGE>();
    image->nColumn = address.column;
    image->nRow = address.row;
    image->strKey = key;
    image->stream.Write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    std::list<tagTILE_IMAGE*> one{image.get()};
    static_cast<void>(image.release());
    return one;
}

}  // namespace Terrascope::Plugins

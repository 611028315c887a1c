#pragma once

#include <cstdint>
#include <string>

namespace Terrascope::Plugins {

/// How long a tile is fresh by its server's word, and by what a later request names it. Times are
/// seconds since 1970, UTC; 0: not known.
/// Source: RFC 9110 and 9111.
struct TileFreshness {
    bool mayBeKept = true;     ///< false: no-store
    std::string entityTag;     ///< as it was received, with its quotes; empty: none
    std::string lastModified;  ///< likewise
    std::int64_t fetched = 0;
    std::int64_t expires = 0;  ///< never 0 for a tile that came from a server

    bool operator==(const TileFreshness&) const = default;
};

}  // namespace Terrascope::Plugins

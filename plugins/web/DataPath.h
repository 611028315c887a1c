#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "plugins/web/WebMap.h"

namespace Terrascope::Plugins {

/// A data path: an address or a template, and behind a "#" what it states of the map:
/// "#name=...&minzoom=...&maxzoom=...&bounds=west,south,east,north&tilesize=...&attribution=...",
/// percent-encoded. What is unknown or no number there is passed over.
struct DataPath {
    std::string address;  ///< UTF-8
    MapFacts facts;

    static DataPath Parse(std::string_view text);
    bool IsTemplate() const { return address.find('{') != std::string::npos; }

    /// `facts` with what the data path states in their places; so does the time of the document
    /// that it leads to, once its reader has put that among them.
    MapFacts Over(MapFacts facts) const;
};

}  // namespace Terrascope::Plugins

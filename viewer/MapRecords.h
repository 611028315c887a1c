#pragma once

#include <string>
#include <vector>

/// What the library offers, as the configured provider describes it. Texts are in the program's
/// code page. Threads: the user-interface thread.
namespace Viewer {

struct MapRecord {
    std::string name;
    std::string remark;
};

/// In the provider's order.
std::vector<MapRecord> ReadMaps();

/// The holders of rights in a map: the last line of a remark that has more than one. Empty when
/// there is none.
std::string AttributionOf(const std::string& remark);

}  // namespace Viewer

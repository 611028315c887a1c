#include "viewer/script/JsonLine.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <type_traits>

namespace Viewer {

std::string JsonLine(const std::vector<JsonMember>& members) {
    using Json = nlohmann::ordered_json;
    Json line = Json::object();
    for (const JsonMember& member : members) {
        line[std::string(member.name)] = std::visit(
            [](const auto& value) -> Json {
                if constexpr (std::is_same_v<decltype(value), const double&>) {
                    return std::round(value * 10) / 10;
                } else {
                    return value;
                }
            },
            member.value);
    }
    // A map may bear a name that was written in another code page.
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace Viewer

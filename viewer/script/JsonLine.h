#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Viewer {

/// A member of a JSON object. A number with decimals is rounded to a tenth.
struct JsonMember {
    std::string_view name;
    std::variant<bool, int, double, std::string> value;
};

/// One JSON object on one line, with a line end; the members keep their order. Texts are taken as
/// UTF-8, which is the program's code page; bytes that are none become U+FFFD.
std::string JsonLine(const std::vector<JsonMember>& members);

}  // namespace Viewer

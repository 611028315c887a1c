#pragma once

#include <string>
#include <string_view>

namespace Viewer {

/// Builds one JSON object on one line, members in the order in which they are added.
/// Texts are taken as UTF-8, which is the program's code page.
class CJsonLine {
public:
    CJsonLine& Add(std::string_view name, std::string_view text);
    CJsonLine& Add(std::string_view name, int number);
    /// Rounded to a tenth.
    CJsonLine& Add(std::string_view name, double number);
    CJsonLine& Add(std::string_view name, bool value);
    /// A literal would otherwise go to the bool.
    CJsonLine& Add(std::string_view name, const char* text) {
        return Add(name, std::string_view(text));
    }

    /// The object with a line end.
    std::string Text() const { return "{" + m_strMembers + "}\n"; }

private:
    void AddRaw(std::string_view name, std::string_view value);

    std::string m_strMembers;
};

}  // namespace Viewer

#include "viewer/script/JsonLine.h"

#include <cmath>
#include <cstdio>

namespace Viewer {
namespace {

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
            quoted += escape;
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

}  // namespace

CJsonLine& CJsonLine::Add(std::string_view name, std::string_view text) {
    AddRaw(name, Quoted(text));
    return *this;
}

CJsonLine& CJsonLine::Add(std::string_view name, int number) {
    AddRaw(name, std::to_string(number));
    return *this;
}

CJsonLine& CJsonLine::Add(std::string_view name, double number) {
    const long long tenths = std::llround(number * 10);
    AddRaw(name, std::to_string(tenths / 10) + "." + std::to_string(std::llabs(tenths % 10)));
    return *this;
}

CJsonLine& CJsonLine::Add(std::string_view name, bool value) {
    AddRaw(name, value ? "true" : "false");
    return *this;
}

void CJsonLine::AddRaw(std::string_view name, std::string_view value) {
    if (!m_strMembers.empty()) {
        m_strMembers += ", ";
    }
    m_strMembers += Quoted(name);
    m_strMembers += ": ";
    m_strMembers += value;
}

}  // namespace Viewer

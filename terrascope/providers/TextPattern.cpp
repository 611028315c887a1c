#include "terrascope/providers/TextPattern.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope {
namespace {

/// The length of the conversion that the text begins with, 0 when it begins with none that is
/// supported.
std::size_t ConversionLength(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789";
    std::size_t at = std::min(text.find_first_not_of("-+ 0#", 1), text.size());
    for (int i = 0; i < 2 && at < text.size() && kDigits.find(text[at]) != kDigits.npos; ++i) {
        ++at;
    }
    if (at < text.size() && text[at] == '.') {
        ++at;
        for (int i = 0; i < 2 && at < text.size() && kDigits.find(text[at]) != kDigits.npos; ++i) {
            ++at;
        }
    }
    constexpr std::size_t kLongest = 16;
    return at < text.size() && at < kLongest ? at + 1 : 0;
}

/// Appends the value in the conversion's form; false when it is of another kind.
bool Append(std::string& text, const std::string& conversion, const PatternValue& value) {
    char number[512];  // 309 digits before the point, and 99 behind it
    const char kind = conversion.back();
    if (const int* whole = std::get_if<int>(&value); whole != nullptr && kind == 'd') {
        std::snprintf(number, sizeof number, conversion.c_str(), *whole);
    } else if (const double* real = std::get_if<double>(&value); real != nullptr && kind == 'f') {
        std::snprintf(number, sizeof number, conversion.c_str(), *real);
    } else if (const CString* words = std::get_if<CString>(&value);
               words != nullptr && kind == 's') {
        text += ViewOf(*words);
        return true;
    } else {
        return false;
    }
    text += number;
    return true;
}

}  // namespace

CString FillPattern(const CString& pattern, std::initializer_list<PatternValue> values) {
    const std::string_view source = ViewOf(pattern);
    std::string text;
    auto value = values.begin();
    for (std::size_t at = 0; at < source.size();) {
        // A per cent sign is never the second byte of a character.
        const std::size_t sign = std::min(source.find('%', at), source.size());
        text += source.substr(at, sign - at);
        at = sign;
        if (at == source.size()) {
            break;
        }
        const std::string_view rest = source.substr(at);
        if (rest.starts_with("%%")) {
            text += '%';
            at += 2;
            continue;
        }
        const std::size_t length = ConversionLength(rest);
        if (length != 0 && value != values.end() &&
            Append(text, std::string(rest.substr(0, length)), *value)) {
            ++value;
            at += length;
        } else {
            text += '%';
            ++at;
        }
    }
    return ToCString(text);
}

}  // namespace Terrascope

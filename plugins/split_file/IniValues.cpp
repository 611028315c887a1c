#include "plugins/split_file/IniValues.h"

#include <charconv>
#include <cmath>

#include "terrascope/support/ini/CustomIniFile.h"
#include "terrascope/support/text/MultibyteText.h"

namespace Terrascope::Plugins {
namespace {

/// The whole text as a number, with a full stop for the decimals whatever the locale.
template <class TNumber>
std::optional<TNumber> ParseNumber(std::string_view text) {
    TNumber value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

CString IniValues::Text(const CString& section, const char* key) const {
    return ToCString(Trimmed(ViewOf(m_file.ReadString(section, key, ""))));
}

int IniValues::Whole(const CString& section, const char* key, int least, int most,
                     std::optional<int> fallback) {
    const CString text = Text(section, key);
    if (text.IsEmpty() && fallback) {
        return *fallback;
    }
    const std::optional<int> value = ParseNumber<int>(ViewOf(text));
    if (!value || *value < least || *value > most) {
        CString reason;
        reason.Format("'%.60s' is not a whole number from %d to %d", text.GetString(), least, most);
        Refuse(section, key, reason);
        return least;
    }
    return *value;
}

double IniValues::Real(const CString& section, const char* key, double least, double most,
                       std::optional<double> fallback) {
    const CString text = Text(section, key);
    if (text.IsEmpty() && fallback) {
        return *fallback;
    }
    const std::optional<double> value = ParseNumber<double>(ViewOf(text));
    if (!value || !std::isfinite(*value) || *value < least || *value > most) {
        CString reason;
        reason.Format("'%.60s' is not a number from %g to %g", text.GetString(), least, most);
        Refuse(section, key, reason);
        return least;
    }
    return *value;
}

void IniValues::Refuse(const CString& section, const char* key, const CString& reason) {
    if (!m_problem) {
        m_problem = MapProblem{section, key, reason};
    }
}

std::optional<SYSTEMTIME> ParseTime(const CString& text) {
    WORD fields[6] = {};
    std::string_view rest = ViewOf(text);
    constexpr std::string_view kSeparators = "-- ::";
    std::size_t count = 0;
    for (; count < 6; ++count) {
        const std::size_t end =
            count < 5 ? std::min(rest.find(kSeparators[count]), rest.size()) : rest.size();
        const auto value = ParseNumber<WORD>(rest.substr(0, end));
        if (!value) {
            return std::nullopt;
        }
        fields[count] = *value;
        if (end == rest.size()) {
            break;
        }
        rest.remove_prefix(end + 1);
    }
    SYSTEMTIME time{fields[0], fields[1], 0, fields[2], fields[3], fields[4], fields[5], 0};
    FILETIME ignored{};
    const bool complete = count == 2 || count == 5;  // the date, or all six
    if (!complete || !::SystemTimeToFileTime(&time, &ignored)) {
        return std::nullopt;
    }
    return time;
}

}  // namespace Terrascope::Plugins

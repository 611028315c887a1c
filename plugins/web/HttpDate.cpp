#include "plugins/web/HttpDate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <vector>

namespace Terrascope::Plugins {
namespace {

constexpr std::size_t kLongest = 64;

/// ASCII without control characters: what can be sent as a header's value.
bool IsPrintable(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

bool IsOfLetters(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

/// The texts between blanks, commas and hyphens.
std::vector<std::string_view> Words(std::string_view text) {
    constexpr std::string_view kBetween = " ,-";
    std::vector<std::string_view> words;
    for (std::size_t begin = text.find_first_not_of(kBetween); begin < text.size();) {
        const std::size_t end = std::min(text.find_first_of(kBetween, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(kBetween, end);
    }
    return words;
}

/// A number of so many digits at least, and at most; -1: it is none.
int Number(std::string_view text, std::size_t least, std::size_t most) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = text.size() >= least && text.size() <= most && error == std::errc() &&
                          end == text.data() + text.size();
    return isNumber ? number : -1;
}

/// 1 to 12; 0: it is none.
unsigned Month(std::string_view text) {
    constexpr std::array<std::string_view, 12> kNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto* const found = std::find(kNames.begin(), kNames.end(), text);
    return found != kNames.end() ? static_cast<unsigned>(found - kNames.begin()) + 1 : 0;
}

int YearOf(UnixSeconds time) {
    const auto day =
        std::chrono::floor<std::chrono::days>(std::chrono::sys_seconds(std::chrono::seconds(time)));
    return static_cast<int>(std::chrono::year_month_day(day).year());
}

int Year(std::string_view text, UnixSeconds now) {
    if (text.size() != 2) {
        return Number(text, 4, 4);
    }
    const int lastDigits = Number(text, 2, 2);
    const int latest = YearOf(now) + 50;
    const int year = latest - latest % 100 + lastDigits;
    return lastDigits < 0 ? -1 : year - (year > latest ? 100 : 0);
}

/// Seconds since midnight of "08:49:37"; -1: it is no time. A leap second may be one.
int TimeOfDay(std::string_view text) {
    if (text.size() != 8 || text[2] != ':' || text[5] != ':') {
        return -1;
    }
    const int hour = Number(text.substr(0, 2), 2, 2);
    const int minute = Number(text.substr(3, 2), 2, 2);
    const int second = Number(text.substr(6, 2), 2, 2);
    const bool isTime =
        hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second <= 60;
    return isTime ? (hour * 60 + minute) * 60 + second : -1;
}

}  // namespace

std::optional<UnixSeconds> ParseHttpDate(std::string_view text, UnixSeconds now) {
    if (text.size() > kLongest || !IsPrintable(text)) {
        return std::nullopt;
    }
    std::vector<std::string_view> words = Words(text);
    if (words.size() == 5) {
        // Day, month, date, time, year: in the order of the other two forms.
        words = {words[0], words[2], words[1], words[4], words[3], "GMT"};
    }
    if (words.size() != 6 || words[5] != "GMT" || !IsOfLetters(words[0])) {
        return std::nullopt;
    }
    const int day = Number(words[1], 1, 2);
    const int year = Year(words[3], now);
    const int time = TimeOfDay(words[4]);
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(Month(words[2])),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (day < 1 || year < 1 || time < 0 || !date.ok()) {
        return std::nullopt;
    }
    constexpr UnixSeconds kDay = 86'400;
    return std::chrono::sys_days(date).time_since_epoch().count() * kDay + time;
}

}  // namespace Terrascope::Plugins

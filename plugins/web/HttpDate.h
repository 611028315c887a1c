#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Terrascope::Plugins {

/// Seconds since 1970, UTC. Negative: before.
using UnixSeconds = std::int64_t;

/// A date as headers have it, in each of its three forms: "Sun, 06 Nov 1994 08:49:37 GMT",
/// "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994". Nothing for any other text. The
/// name of the day may be any letters: it is not compared with the date. `now` places years of two
/// digits: more than fifty years ahead of it, they are of the past. Source: RFC 9110,
/// section 5.6.7.
std::optional<UnixSeconds> ParseHttpDate(std::string_view text, UnixSeconds now);

}  // namespace Terrascope::Plugins

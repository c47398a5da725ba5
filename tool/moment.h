#pragma once

#include <corvo/platform/time_zone.h>

#include <optional>
#include <string_view>

namespace corvo::tool {

/// The moment that a text names, in seconds since 1970. The text is one of
/// - seconds since 1970: a decimal number, perhaps with a sign, a fraction or an exponent,
/// - a date and time of ISO 8601: 2026-11-22T10:30:00.5Z. The time may lack its fraction, its
///   seconds, or be left out; a blank may stand for the T, a comma for the dot. The offset from UTC
///   is Z, +01, +01:00 or +0100, and belongs to a time. Without it the time is local in the zone:
///   one that the clocks skip is none, of one that they show twice the later moment counts.
/// - the same without separators: 20261122T1030. Eight digits alone are seconds.
///
/// None for all else.
[[nodiscard]] std::optional<double> parseMoment(std::string_view text, const TimeZone& zone);

}  // namespace corvo::tool

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/time_zone.h>

#include <optional>
#include <string_view>

namespace corvo::tool {

/// Parses a moment, in seconds since 1970. The text has one of these forms:
/// - Seconds since 1970: a decimal number with an optional sign, fraction and exponent.
/// - An ISO 8601 date and time: 2026-11-22T10:30:00.5Z. The fraction, the seconds or the whole time
///   may be omitted; a blank may replace the T, a comma the dot. A time may have an offset from
///   UTC: Z, +01, +01:00 or +0100. Without an offset, the time is local in the zone. A local time
///   that the clocks skip is invalid; of one that they show twice, the later moment counts.
/// - The same without separators: 20261122T1030. Eight digits alone are seconds.
///
/// Empty for any other text.
[[nodiscard]] std::optional<double> parseMoment(std::string_view text, const TimeZone& zone);

}  // namespace corvo::tool

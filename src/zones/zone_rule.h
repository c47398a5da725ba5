#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::zones {

/// From this moment on (seconds since 1970) clocks are so many seconds ahead of UTC.
struct OffsetChange {
  std::int64_t moment = 0;
  std::int32_t offset = 0;
};

/// The calendar repeats after so many seconds: 400 years.
constexpr std::int64_t kCalendarCycle = std::int64_t{146'097} * 86'400;
/// Where a cycle begins: 2001-01-01 00:00:00 UTC.
constexpr std::int64_t kCycleStart = 978'307'200;

/// The changes that a rule in the format of the variable TZ makes in the cycle from `kCycleStart`,
/// in their order; they repeat with it, so the last one's offset holds before the first one. A rule
/// without daylight saving time has one change, at the start.
///
/// The format is that of POSIX with the extensions of RFC 8536, section 3.3.1: the hour of a change
/// goes from -167 to 167. Daylight saving time needs its two dates. None for any other text.
[[nodiscard]] std::optional<std::vector<OffsetChange>> changesByRule(std::string_view rule);

}  // namespace corvo::corvo_internal::zones

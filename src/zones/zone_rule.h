// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::zones {

/// From this moment on (seconds since 1970), clocks are this many seconds ahead of UTC.
struct OffsetChange {
  std::int64_t moment = 0;
  std::int32_t offset = 0;
};

/// The calendar repeats after this many seconds: 400 years.
constexpr std::int64_t kCalendarCycle = std::int64_t{146'097} * 86'400;
/// The start of a cycle: 2001-01-01 00:00:00 UTC.
constexpr std::int64_t kCycleStart = 978'307'200;

/// The changes of a rule, in the format of the variable TZ, within the cycle that starts at
/// `kCycleStart`, in order. They repeat with the cycle, so the last offset also applies before the
/// first change. A rule without daylight saving time has one change, at the start.
///
/// The format is POSIX with the extensions of RFC 8536, section 3.3.1: the hour of a change ranges
/// from -167 to 167. Daylight saving time requires both dates. Empty for any other text.
[[nodiscard]] std::optional<std::vector<OffsetChange>> changesByRule(std::string_view rule);

}  // namespace corvo::corvo_internal::zones

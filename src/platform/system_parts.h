// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "base/text_hash.h"

// The parts from which each system builds its clock and its time zone.

namespace corvo::corvo_internal::platform {

class ExactClock : public Clock {
 public:
  [[nodiscard]] double now() const override {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  }
};

/// The time zone of the process. `Zone` queries the system:
/// - `text` is the variable TZ, possibly preceded by its name; empty if it is not set.
/// - `offsetAt` is the offset in seconds east of UTC at a time between `kEarliest` and `kLatest`.
///   It makes the C library check first whether the zone has changed.
/// - `standardOffset` is the standard time's offset in seconds west of UTC, as the C library last
///   saw it.
template <class Zone>
class SystemTimeZone final : public TimeZone {
 public:
  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    constexpr std::int64_t kMost = 24 * 60 * 60 - 1;  // a text in TZ may specify slightly more
    const std::int64_t offset = Zone::offsetAt(std::clamp(moment, Zone::kEarliest, Zone::kLatest));
    return static_cast<std::int32_t>(std::clamp(offset, -kMost, kMost));
  }

  /// The text of TZ distinguishes zones that differ only in their past. While TZ is
  /// unset, a changed standard offset reveals that the system's setting was replaced. The C library
  /// must notice it first; `offsetAt` ensures that. The C library's variables `tzname` and
  /// `daylight` are useless here, because glibc sets them on every conversion.
  [[nodiscard]] std::uint64_t identifier() const override {
    constexpr std::uint64_t kOdd = 0x9E37'79B9'7F4A'7C15;
    return base::TextHash()(zone_.text()) +
           kOdd * static_cast<std::uint64_t>(Zone::standardOffset());
  }

 private:
  Zone zone_;
};

}  // namespace corvo::corvo_internal::platform

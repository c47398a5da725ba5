#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "base/text_hash.h"

// What the files of the systems make their clock and their time zone of.

namespace corvo::corvo_internal::platform {

class ExactClock : public Clock {
 public:
  [[nodiscard]] double now() const override {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  }
};

/// The time zone of the process. `Zone` is how a system is asked for it:
/// - `text` is the variable TZ, perhaps with its name before it; empty when it is not set.
/// - `offsetAt` is the seconds east of UTC at a moment between `kEarliest` and `kLatest`, after the
///   C library has looked whether the zone has changed.
/// - `standardOffset` is the seconds west of UTC in standard time, as the C library last saw it.
template <class Zone>
class SystemTimeZone final : public TimeZone {
 public:
  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    constexpr std::int64_t kMost = 24 * 60 * 60 - 1;  // a text in TZ may claim a little more
    const std::int64_t offset = Zone::offsetAt(std::clamp(moment, Zone::kEarliest, Zone::kLatest));
    return static_cast<std::int32_t>(std::clamp(offset, -kMost, kMost));
  }

  /// The text of TZ tells zones apart that differ only in their past. The standard offset tells
  /// that the system's own setting was exchanged beneath an unset TZ, once the C library has seen
  /// it, as `offsetAt` makes it do. The library's other variables, `tzname` and `daylight`, are of
  /// no use: glibc sets them anew for every moment that anyone converts.
  [[nodiscard]] std::uint64_t identifier() const override {
    constexpr std::uint64_t kOdd = 0x9E37'79B9'7F4A'7C15;
    return base::TextHash()(zone_.text()) +
           kOdd * static_cast<std::uint64_t>(Zone::standardOffset());
  }

 private:
  Zone zone_;
};

}  // namespace corvo::corvo_internal::platform

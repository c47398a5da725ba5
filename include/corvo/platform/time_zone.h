// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstdint>

namespace corvo {

/// The time zone in which expiries and condition dates are written and read.
class CORVO_TYPE TimeZone {
 public:
  virtual ~TimeZone() = default;

  /// The offset of local time from UTC at a moment (seconds since 1970), in seconds, positive east
  /// of Greenwich and less than a day either way. Any moment may be passed, even one far outside
  /// the calendar. Changes of the offset must be at least an hour apart.
  [[nodiscard]] virtual std::int32_t offsetAt(std::int64_t moment) const = 0;

  /// A number that changes whenever the zone or its rules do; the library then discards its cached
  /// local times. Called for every question, and by every setter of a user's builder, so it must be
  /// cheap.
  [[nodiscard]] virtual std::uint64_t identifier() const = 0;
};

}  // namespace corvo

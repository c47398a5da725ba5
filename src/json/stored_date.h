// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvo::corvo_internal::json {

/// A point in time as it is stored: a JSON number, in seconds since 2001-01-01 00:00:00 UTC.
struct StoredDate {
  static constexpr double kEpoch = 978'307'200;  ///< That date in seconds since 1970.

  double secondsSince1970 = 0;

  [[nodiscard]] static StoredDate from(double number) noexcept { return {number + kEpoch}; }
  [[nodiscard]] double number() const noexcept { return secondsSince1970 - kEpoch; }

  bool operator==(const StoredDate&) const = default;
};

}  // namespace corvo::corvo_internal::json

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>

namespace corvo::corvo_internal::base {

/// Spaces attempts at least a second apart. Times are seconds since 1970 on a clock that may be
/// adjusted: a time before the last attempt, or NaN, does not delay the next attempt.
class OnceASecond {
 public:
  /// Whether an attempt is due; if so, it counts as started.
  [[nodiscard]] bool isDue(double now) noexcept {
    const double passed = now - last_;
    if (0 <= passed && passed < 1) return false;
    begin(now);
    return true;
  }

  /// Records that an attempt starts, due or not.
  void begin(double now) noexcept { last_ = now; }

 private:
  double last_ = -std::numeric_limits<double>::infinity();
};

}  // namespace corvo::corvo_internal::base

#pragma once

#include <limits>

namespace corvo::corvo_internal::base {

/// Keeps attempts a second apart. Moments are seconds since 1970 on a clock that may be set: a
/// moment before the last attempt is no reason to wait, and neither is one that is not a number.
class OnceASecond {
 public:
  /// Whether an attempt is due; if so, it counts as begun.
  [[nodiscard]] bool isDue(double now) noexcept {
    const double passed = now - last_;
    if (0 <= passed && passed < 1) return false;
    begin(now);
    return true;
  }

  /// An attempt begins, due or not.
  void begin(double now) noexcept { last_ = now; }

 private:
  double last_ = -std::numeric_limits<double>::infinity();
};

}  // namespace corvo::corvo_internal::base

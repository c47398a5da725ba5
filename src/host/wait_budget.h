// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <utility>

namespace corvo::corvo_internal::host {

/// Waits for others that hold a file: at most 100 milliseconds within any second, regardless of the
/// number of callers. Not thread-safe.
class WaitBudget {
 public:
  using Milliseconds = std::chrono::milliseconds;
  /// Waits for the given time and returns the time after it, by a monotonic clock.
  using Sleep = std::function<Milliseconds(Milliseconds)>;

  explicit WaitBudget(Sleep sleep = steadySleep) : sleep_(std::move(sleep)) {}

  /// Waits for a short step. Returns false immediately if the limit is reached.
  bool wait() noexcept;

 private:
  static Milliseconds steadySleep(Milliseconds duration);

  Sleep sleep_;
  Milliseconds waited_{0};
  Milliseconds until_{0};
};

}  // namespace corvo::corvo_internal::host

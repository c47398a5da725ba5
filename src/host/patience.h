#pragma once

#include <chrono>
#include <functional>
#include <utility>

namespace corvo::corvo_internal::host {

/// Waits for others who hold a file: 100 milliseconds at most within any second, however many ask.
/// For one thread at a time.
class Patience {
 public:
  using Milliseconds = std::chrono::milliseconds;
  /// Lets so much time pass, and tells the time then, by a clock that is never set.
  using Sleep = std::function<Milliseconds(Milliseconds)>;

  explicit Patience(Sleep sleep = steadySleep) : sleep_(std::move(sleep)) {}

  /// Waits a little. False, and at once, when enough was waited.
  bool wait() noexcept;

 private:
  static Milliseconds steadySleep(Milliseconds duration);

  Sleep sleep_;
  Milliseconds waited_{0};
  Milliseconds until_{0};
};

}  // namespace corvo::corvo_internal::host

#pragma once

#include <corvo/export.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/main_queue.h>

#include <map>
#include <mutex>
#include <optional>

namespace corvo::fakes {

/// Virtual time: a clock and the main queue in one. Time passes only when the test says so, or
/// when `runUntil` has nothing left to do now and skips to the next task that is due later.
/// Tasks may be posted from any thread; everything else is for the test's thread. Runs may nest.
class CORVO_FAKES_EXPORT VirtualTime final : public Clock, public MainQueue {
 public:
  /// Starts at 2024-05-01 12:00:00 UTC, or at the given seconds since 1970.
  explicit VirtualTime(double start = 1'714'564'800.0) : moment_(start) {}

  [[nodiscard]] double now() const override { return moment_ + (elapsed_ - setAt_); }
  void post(Callback<void()> task) override;
  bool runUntil(const std::function<bool()>& condition) override;

  /// Posts a task that falls due after some seconds of virtual time.
  void postAfter(double seconds, Callback<void()> task);
  /// Sets the clock to any number, backwards too, and runs nothing. Like a change of the device's
  /// clock this is no passing of time: what is due later stays due after the same delay.
  void set(double moment);
  /// Lets time pass: runs what is queued and what falls due on the way, each at its moment.
  void advance(double seconds);
  /// Runs what is due now, and what that posts, until nothing is due. Time does not pass.
  void run();

 private:
  std::optional<Callback<void()>> take(double latest);

  double moment_;       // what the clock was last set to,
  double setAt_ = 0;    // and how much time had elapsed then
  double elapsed_ = 0;  // since the start; unlike the clock it only grows
  std::mutex mutex_;
  std::multimap<double, Callback<void()>> tasks_;  // by the elapsed time at which they fall due
};

}  // namespace corvo::fakes

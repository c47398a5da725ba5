// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/platform/clock.h>
#include <corvo/platform/main_queue.h>

#include <map>
#include <mutex>
#include <optional>

namespace corvo::fakes {

/// Virtual time: a clock and the main queue in one. Time passes only when the test says so, or when
/// `runUntil` has nothing left to do now and skips to the next task. Tasks may be posted from any
/// thread; everything else is for the test's thread. Runs may nest.
class CORVO_FAKES_EXPORT VirtualTime final : public Clock, public MainQueue {
 public:
  /// Starts at 2024-05-01 12:00:00 UTC, or at the given seconds since 1970.
  explicit VirtualTime(double start = 1'714'564'800.0) : moment_(start) {}

  [[nodiscard]] double now() const override { return moment_ + (elapsed_ - setAt_); }
  void post(Callback<void()> task) override;
  bool runUntil(const std::function<bool()>& condition) override;

  /// Posts a task that becomes due after some seconds of virtual time.
  void postAfter(double seconds, Callback<void()> task);
  /// Sets the clock to any number, even backwards, and runs nothing. Like adjusting a device's
  /// clock, this does not let time pass: tasks that are due later stay due after the same delay.
  void set(double moment);
  /// Lets time pass: runs the queued tasks, and each task that becomes due on the way at its
  /// moment.
  void advance(double seconds);
  /// Runs the tasks that are due now, and those that they post, until nothing is due. No time
  /// passes.
  void run();

 private:
  std::optional<Callback<void()>> take(double latest);

  double moment_;       // the moment to which the clock was last set,
  double setAt_ = 0;    // and the time that had elapsed then
  double elapsed_ = 0;  // since the start; unlike the clock it only grows
  std::mutex mutex_;
  std::multimap<double, Callback<void()>> tasks_;  // by the elapsed time at which they are due
};

}  // namespace corvo::fakes

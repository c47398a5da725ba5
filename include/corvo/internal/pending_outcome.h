// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/callback.h>
#include <corvo/error.h>

#include <coroutine>
#include <mutex>
#include <utility>
#include <variant>

namespace corvo::corvo_internal {

/// The outcome of a question: pending, a value, or an error.
template <class T>
using Outcome = std::variant<std::monostate, T, CorvoError>;

/// The state that a pending answer shares with the sink that will settle or drop it. Synchronised:
/// one thread may await the answer that another one brings.
template <class T>
class PendingOutcome {
 public:
  void settle(Outcome<T> outcome) {
    std::unique_lock lock(mutex_);
    outcome_ = std::move(outcome);
    hasEnded_ = true;
    const std::coroutine_handle<> waiting = std::exchange(waiting_, nullptr);
    Callback<void()> onEnd = std::move(onEnd_);
    lock.unlock();
    if (waiting) waiting.resume();
    onEnd();
  }

  /// No outcome will come. A waiting coroutine is not resumed.
  void drop() {
    std::unique_lock lock(mutex_);
    hasEnded_ = true;
    Callback<void()> onEnd = std::move(onEnd_);
    lock.unlock();
    onEnd();
  }

  /// Makes the coroutine wait; false if the outcome is already there.
  bool wait(std::coroutine_handle<> coroutine) {
    const std::lock_guard lock(mutex_);
    if (outcome_.index() != 0) return false;
    waiting_ = coroutine;
    return true;
  }

  /// Calls the function when the question is settled or dropped, on the thread that does so;
  /// immediately if that has already happened. The function must not throw.
  void onEnd(Callback<void()> onEnd) {
    {
      const std::lock_guard lock(mutex_);
      if (!hasEnded_) {
        onEnd_ = std::move(onEnd);
        return;
      }
    }
    onEnd();
  }

  void stopWaiting() {
    Callback<void()> onEnd;  // destroyed outside the lock
    const std::lock_guard lock(mutex_);
    waiting_ = nullptr;
    onEnd = std::move(onEnd_);
  }

  bool isSettled() const {
    const std::lock_guard lock(mutex_);
    return outcome_.index() != 0;
  }

  /// Whether the question was settled or dropped.
  bool hasEnded() const {
    const std::lock_guard lock(mutex_);
    return hasEnded_;
  }

  Outcome<T> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(outcome_, {});
  }

 private:
  mutable std::mutex mutex_;
  Outcome<T> outcome_;
  std::coroutine_handle<> waiting_;
  Callback<void()> onEnd_;
  bool hasEnded_ = false;
};

}  // namespace corvo::corvo_internal

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "base/stop_process.h"

namespace corvo::corvo_internal::base {

/// How reliably concurrent use is detected.
enum class Detection : std::uint8_t {
  bestEffort,  ///< Costs a load and a store. Misses threads that arrive within nanoseconds.
  exact        ///< Costs an atomic exchange.
};

/// Detects concurrent use of an object that only one thread may use at a time, and then aborts the
/// process. The thread that holds the access may take it again. Another thread may take it later.
template <Detection detection = Detection::bestEffort>
class ConcurrentUseGuard {
 public:
  /// `message` is printed when the process is aborted; it must outlive this object.
  explicit ConcurrentUseGuard(const char* message) noexcept : message_(message) {}

  /// Holds the access for the current thread until `release` or destruction.
  class Scope {
   public:
    explicit Scope(ConcurrentUseGuard& access) noexcept
        : access_(&access), wasHeld_(access.take(thisThread())) {}
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() { release(); }

    /// Whether the thread already held the access.
    [[nodiscard]] bool isNested() const noexcept { return wasHeld_; }

    /// Releases the access early. The object is not touched again, so it may be destroyed
    /// afterwards.
    void release() noexcept {
      if (access_ != nullptr) std::exchange(access_, nullptr)->give(thisThread(), wasHeld_);
    }

   private:
    ConcurrentUseGuard* access_;
    bool wasHeld_;
  };

 private:
  static const void* thisThread() noexcept {
    static thread_local const char place = 0;
    return &place;
  }

  // Returns whether the thread already held the access.
  bool take(const void* thread) noexcept {
    const void* owner = owner_.load(std::memory_order_relaxed);
    if (owner == thread) return true;
    if constexpr (detection == Detection::exact) {
      owner = nullptr;
      if (owner_.compare_exchange_strong(owner, thread, std::memory_order_acquire)) return false;
    } else if (owner == nullptr) {
      owner_.store(thread, std::memory_order_relaxed);
      return false;
    }
    stopProcess(message_);
  }

  // Checks again: if two threads took the access within nanoseconds, the second one is the owner
  // now.
  void give(const void* thread, bool wasHeld) noexcept {
    if (owner_.load(std::memory_order_relaxed) != thread) stopProcess(message_);
    if (!wasHeld) owner_.store(nullptr, std::memory_order_release);
  }

  std::atomic<const void*> owner_{nullptr};
  const char* message_;
};

}  // namespace corvo::corvo_internal::base

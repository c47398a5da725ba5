#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "base/stop_process.h"

namespace corvo::corvo_internal::base {

/// How sure two threads at once are to be noticed.
enum class Noticing : std::uint8_t {
  practicallyAlways,  ///< Costs a load and a store. Misses threads that come within nanoseconds.
  always              ///< Costs an exchange.
};

/// Notices when something that is for one thread at a time is used by two, and stops the process
/// then. A thread that has it may take it again. Which thread has it may change from use to use.
template <Noticing noticing = Noticing::practicallyAlways>
class ExclusiveAccess {
 public:
  /// `complaint` is the reason given when the process is stopped; it must last.
  explicit ExclusiveAccess(const char* complaint) noexcept : complaint_(complaint) {}

  /// The thing is this thread's from here to `release`, or to the end.
  class Scope {
   public:
    explicit Scope(ExclusiveAccess& access) noexcept
        : access_(&access), wasMine_(access.take(thisThread())) {}
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() { release(); }

    /// Whether the thread had it already.
    [[nodiscard]] bool isNested() const noexcept { return wasMine_; }

    /// Gives it up early. The thing is not touched again, so it may be gone afterwards.
    void release() noexcept {
      if (access_ != nullptr) std::exchange(access_, nullptr)->give(thisThread(), wasMine_);
    }

   private:
    ExclusiveAccess* access_;
    bool wasMine_;
  };

 private:
  static const void* thisThread() noexcept {
    static thread_local const char place = 0;
    return &place;
  }

  // Answers whether the thread had it already.
  bool take(const void* thread) noexcept {
    const void* owner = owner_.load(std::memory_order_relaxed);
    if (owner == thread) return true;
    if constexpr (noticing == Noticing::always) {
      owner = nullptr;
      if (owner_.compare_exchange_strong(owner, thread, std::memory_order_acquire)) return false;
    } else if (owner == nullptr) {
      owner_.store(thread, std::memory_order_relaxed);
      return false;
    }
    stopProcess(complaint_);
  }

  // Looks again: of two that took it within nanoseconds, the second has it now.
  void give(const void* thread, bool wasMine) noexcept {
    if (owner_.load(std::memory_order_relaxed) != thread) stopProcess(complaint_);
    if (!wasMine) owner_.store(nullptr, std::memory_order_release);
  }

  std::atomic<const void*> owner_{nullptr};
  const char* complaint_;
};

}  // namespace corvo::corvo_internal::base

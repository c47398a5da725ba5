// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "c/call.h"
#include "c/service_call.h"

namespace corvo::corvo_internal::c {

/// Admits one thread at a time, which may enter again. Others are turned away.
class OneThread {
 public:
  /// The current thread's stay. Throws `Misuse` if another thread is inside, or from within a
  /// function of the platform.
  class Stay {
   public:
    explicit Stay(OneThread& place) : place_(place), isOuter_(place.enter()) {}
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;
    ~Stay() {
      if (isOuter_) place_.owner_.store(nullptr, std::memory_order_release);
    }

   private:
    OneThread& place_;
    bool isOuter_;
  };

 private:
  /// False if the thread was inside already.
  bool enter() {
    ServiceCall::refuse();
    static thread_local const char mark = 0;
    const void* owner = nullptr;
    if (owner_.compare_exchange_strong(owner, &mark, std::memory_order_acquire)) return true;
    if (owner != &mark) throwBusy();
    return false;
  }

  std::atomic<const void*> owner_ = nullptr;
};

}  // namespace corvo::corvo_internal::c

// SPDX-License-Identifier: Apache-2.0

#include "host/wait_budget.h"

#include <algorithm>
#include <thread>

namespace corvo::corvo_internal::host {
namespace {

constexpr WaitBudget::Milliseconds kMost{100};
constexpr WaitBudget::Milliseconds kRest{900};
constexpr WaitBudget::Milliseconds kStep{2};  // other processes write for milliseconds

}  // namespace

bool WaitBudget::wait() noexcept {
  const Milliseconds now = sleep_(Milliseconds(0));
  if (now - until_ >= kRest) waited_ = Milliseconds(0);
  if (waited_ >= kMost) return false;
  until_ = sleep_(std::min(kStep, kMost - waited_));
  waited_ += until_ - now;
  return true;
}

WaitBudget::Milliseconds WaitBudget::steadySleep(Milliseconds duration) {
  if (duration > Milliseconds(0)) std::this_thread::sleep_for(duration);
  return std::chrono::duration_cast<Milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace corvo::corvo_internal::host

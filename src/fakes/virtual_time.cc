// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/virtual_time.h>

#include <algorithm>
#include <limits>

namespace corvo::fakes {

void VirtualTime::post(Callback<void()> task) { postAfter(0, std::move(task)); }

void VirtualTime::postAfter(double seconds, Callback<void()> task) {
  const std::lock_guard lock(mutex_);
  tasks_.emplace(seconds > 0 ? elapsed_ + seconds : elapsed_, std::move(task));
}

bool VirtualTime::runUntil(const std::function<bool()>& condition) {
  while (!condition()) {
    auto task = take(std::numeric_limits<double>::max());
    if (!task) return false;
    (*task)();
  }
  return true;
}

void VirtualTime::advance(double seconds) {
  const double end = elapsed_ + seconds;
  while (auto task = take(end)) (*task)();
  const std::lock_guard lock(mutex_);
  elapsed_ = std::max(elapsed_, end);  // a task may itself have advanced the time
}

void VirtualTime::run() {
  while (auto task = take(elapsed_)) (*task)();
}

void VirtualTime::set(double moment) {
  moment_ = moment;
  setAt_ = elapsed_;
}

std::optional<Callback<void()>> VirtualTime::take(double latest) {
  const std::lock_guard lock(mutex_);
  if (tasks_.empty() || tasks_.begin()->first > latest) return std::nullopt;
  const auto first = tasks_.extract(tasks_.begin());
  elapsed_ = std::max(elapsed_, first.key());
  return std::move(first.mapped());
}

}  // namespace corvo::fakes

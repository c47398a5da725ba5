#include <corvo/fakes.h>

#include <algorithm>
#include <limits>

namespace corvo::fakes {

void VirtualTime::post(Callback<void()> task) {
  const std::lock_guard lock(mutex_);
  ready_.push_back(std::move(task));
}

void VirtualTime::postAfter(double seconds, Callback<void()> task) {
  if (!(seconds > 0)) return post(std::move(task));
  const std::lock_guard lock(mutex_);
  later_.emplace(elapsed_ + seconds, std::move(task));
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
  elapsed_ = std::max(elapsed_, end);  // a task may itself have let more time pass
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
  if (ready_.empty() && !later_.empty() && later_.begin()->first <= latest) {
    elapsed_ = std::max(elapsed_, later_.begin()->first);
  }
  while (!later_.empty() && later_.begin()->first <= elapsed_) {
    ready_.push_back(std::move(later_.extract(later_.begin()).mapped()));
  }
  if (ready_.empty()) return std::nullopt;
  Callback<void()> task = std::move(ready_.front());
  ready_.pop_front();
  return task;
}

}  // namespace corvo::fakes

// SPDX-License-Identifier: Apache-2.0

#include "tool/ofrep/publication.h"

namespace corvo::tool {

Publication::Current Publication::now() const {
  const std::scoped_lock lock(mutex_);
  if (current_.edition && Clock::now() >= expires_) {
    return {nullptr, "the configuration has expired", current_.confirmed};
  }
  return current_;
}

void Publication::publish(std::shared_ptr<const Edition> edition, Clock::time_point confirmed,
                          Clock::time_point expires) {
  const std::scoped_lock lock(mutex_);
  current_.edition.swap(edition);  // the former one is destroyed without the lock
  current_.refusal.clear();
  current_.confirmed = confirmed;
  expires_ = expires;
}

void Publication::withdraw(std::string refusal) {
  std::shared_ptr<const Edition> former;
  const std::scoped_lock lock(mutex_);
  former.swap(current_.edition);
  current_.refusal = std::move(refusal);
}

}  // namespace corvo::tool

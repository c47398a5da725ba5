// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/publisher.h"

#include <chrono>
#include <utility>

namespace corvo::tool {
namespace {

std::int64_t secondsSince1970() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

}  // namespace

void Publisher::offer(const Snapshot& snapshot, Clock::time_point confirmed,
                      Clock::time_point expires) {
  if (!snapshot.refusal.empty()) return withdraw(snapshot.refusal);
  const auto publish = [&] { publication_.publish(last_, confirmed, expires); };
  if (last_ && last_->version == snapshot.version) return publish();
  last_ = std::make_shared<Edition>(
      Edition{*snapshot.project, snapshot.place, snapshot.version, secondsSince1970()});
  events_.announce(last_->version, last_->lastModified, publish);
}

void Publisher::complain(std::string reason) {
  if (!publication_.now().edition) withdraw(std::move(reason));
}

}  // namespace corvo::tool

// SPDX-License-Identifier: Apache-2.0

#include "client/cached_device.h"

#include <optional>
#include <string>

#include "base/text.h"

namespace corvo::corvo_internal::client {

DeviceFacts CachedDevice::facts(double now) {
  const std::lock_guard lock(mutex_);
  if (!isRead_) {
    facts_.applicationVersion = base::wellFormedIfAny(device_->applicationVersion());
    facts_.systemName = base::wellFormedIfAny(device_->systemName());
    facts_.systemVersion = base::wellFormedIfAny(device_->systemVersion());
    isRead_ = true;
  }
  readIdentifier(now);
  return facts_;
}

std::optional<std::string> CachedDevice::deviceId(double now) {
  const std::lock_guard lock(mutex_);
  readIdentifier(now);
  return facts_.vendorIdentifier;
}

void CachedDevice::readIdentifier(double now) {
  if (facts_.vendorIdentifier || !attempts_.isDue(now)) return;
  facts_.vendorIdentifier = base::wellFormedIfAny(device_->vendorIdentifier());
}

}  // namespace corvo::corvo_internal::client

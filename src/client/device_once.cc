#include "client/device_once.h"

#include <optional>
#include <string>

#include "base/text.h"

namespace corvo::corvo_internal::client {

DeviceFacts DeviceOnce::facts(double now) {
  const std::lock_guard lock(mutex_);
  if (!asked_) {
    facts_.applicationVersion = base::wellFormedIfAny(device_->applicationVersion());
    facts_.systemName = base::wellFormedIfAny(device_->systemName());
    facts_.systemVersion = base::wellFormedIfAny(device_->systemVersion());
    asked_ = true;
  }
  askForIdentifier(now);
  return facts_;
}

std::optional<std::string> DeviceOnce::deviceId(double now) {
  const std::lock_guard lock(mutex_);
  askForIdentifier(now);
  return facts_.vendorIdentifier;
}

void DeviceOnce::askForIdentifier(double now) {
  if (facts_.vendorIdentifier || !attempts_.isDue(now)) return;
  facts_.vendorIdentifier = base::wellFormedIfAny(device_->vendorIdentifier());
}

}  // namespace corvo::corvo_internal::client

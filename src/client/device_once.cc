#include "client/device_once.h"

#include <optional>
#include <string>

#include "base/text.h"

namespace corvo::corvo_internal::client {
namespace {

std::optional<std::string> wellFormed(const std::optional<std::string>& text) {
  return text ? std::optional(base::wellFormed(*text)) : std::nullopt;
}

}  // namespace

DeviceFacts DeviceOnce::facts(double now) {
  const std::lock_guard lock(mutex_);
  if (!asked_) {
    facts_.applicationVersion = wellFormed(device_->applicationVersion());
    facts_.systemName = wellFormed(device_->systemName());
    facts_.systemVersion = wellFormed(device_->systemVersion());
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
  facts_.vendorIdentifier = wellFormed(device_->vendorIdentifier());
}

}  // namespace corvo::corvo_internal::client

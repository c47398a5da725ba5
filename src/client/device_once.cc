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

targeting::DeviceFacts DeviceOnce::facts(double now) {
  const std::lock_guard lock(mutex_);
  if (!asked_) {
    facts_.appVersion = wellFormed(device_->applicationVersion());
    facts_.osName = wellFormed(device_->systemName());
    facts_.osVersion = wellFormed(device_->systemVersion());
    asked_ = true;
  }
  askForIdentifier(now);
  return facts_;
}

std::optional<std::string> DeviceOnce::deviceId(double now) {
  const std::lock_guard lock(mutex_);
  askForIdentifier(now);
  return facts_.deviceId;
}

void DeviceOnce::askForIdentifier(double now) {
  if (facts_.deviceId || !attempts_.isDue(now)) return;
  facts_.deviceId = wellFormed(device_->vendorIdentifier());
}

}  // namespace corvo::corvo_internal::client

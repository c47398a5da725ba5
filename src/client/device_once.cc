#include "client/device_once.h"

#include <optional>
#include <string>

#include "base/text.h"

namespace corvo::client {
namespace {

std::optional<std::string> wellFormed(const std::optional<std::string>& text) {
  return text ? std::optional(base::wellFormed(*text)) : std::nullopt;
}

}  // namespace

const targeting::DeviceFacts& DeviceOnce::facts() {
  std::call_once(asked_, [this] {
    facts_ = {.appVersion = wellFormed(device_->applicationVersion()),
              .deviceId = wellFormed(device_->vendorIdentifier()),
              .osName = wellFormed(device_->systemName()),
              .osVersion = wellFormed(device_->systemVersion())};
  });
  return facts_;
}

}  // namespace corvo::client

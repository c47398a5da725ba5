// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/device_facts.h>
#include <corvo/platform/device.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "base/once_a_second.h"

namespace corvo::corvo_internal::client {

/// The facts about a device, read on first use and only once. A missing identifier is read again,
/// at most once a second, because the reason may be temporary. Thread-safe.
class CachedDevice {
 public:
  explicit CachedDevice(std::shared_ptr<const Device> device) : device_(std::move(device)) {}

  /// All facts. `now` is the current time in seconds since 1970.
  [[nodiscard]] DeviceFacts facts(double now);

  /// Only the identifier.
  [[nodiscard]] std::optional<std::string> deviceId(double now);

 private:
  void readIdentifier(double now);

  std::shared_ptr<const Device> device_;
  std::mutex mutex_;
  bool isRead_ = false;  // guarded, like the members below
  DeviceFacts facts_;
  base::OnceASecond attempts_;
};

}  // namespace corvo::corvo_internal::client

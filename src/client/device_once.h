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

/// What a device tells about itself, asked on first need and only once; the identifier again while
/// there is none, at most once a second, for the reason may pass. Any thread may ask.
class DeviceOnce {
 public:
  explicit DeviceOnce(std::shared_ptr<const Device> device) : device_(std::move(device)) {}

  /// All that is known. `now` is the moment, in seconds since 1970.
  [[nodiscard]] DeviceFacts facts(double now);

  /// The identifier alone.
  [[nodiscard]] std::optional<std::string> deviceId(double now);

 private:
  void askForIdentifier(double now);

  std::shared_ptr<const Device> device_;
  std::mutex mutex_;
  bool asked_ = false;  // guarded, as what follows
  DeviceFacts facts_;
  base::OnceASecond attempts_;
};

}  // namespace corvo::corvo_internal::client

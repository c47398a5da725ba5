#pragma once

#include <corvo/platform/device.h>

#include <memory>
#include <mutex>
#include <utility>

#include "targeting/device_properties.h"

namespace corvo::client {

/// What a device tells about itself, asked on first need and only once. Any thread may ask.
class DeviceOnce {
 public:
  explicit DeviceOnce(std::shared_ptr<const Device> device) : device_(std::move(device)) {}

  [[nodiscard]] const targeting::DeviceFacts& facts();

 private:
  std::shared_ptr<const Device> device_;
  std::once_flag asked_;
  targeting::DeviceFacts facts_;
};

}  // namespace corvo::client

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/platform/device.h>

#include <optional>
#include <string>

namespace corvo::fakes {

/// A device with the facts that the test sets.
struct CORVO_TYPE FixedDevice final : Device {
  /// The facts; change them as needed.
  std::optional<std::string> vendor = "6F9619FF-8B86-4D01-B42D-00CF4FC964FF";
  std::optional<std::string> osName = "iOS";
  std::optional<std::string> osVersion = "17.4.1";
  std::optional<std::string> appVersion = "1.2.3";

  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override { return vendor; }
  [[nodiscard]] std::optional<std::string> systemName() const override { return osName; }
  [[nodiscard]] std::optional<std::string> systemVersion() const override { return osVersion; }
  [[nodiscard]] std::optional<std::string> applicationVersion() const override {
    return appVersion;
  }
};

}  // namespace corvo::fakes

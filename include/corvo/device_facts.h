// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace corvo {

/// Facts about a device and the application on it, as `Device` reports them. Conditions see absent
/// facts as empty texts, and an absent system version as "0.0".
struct DeviceFacts {
  std::optional<std::string> applicationVersion = {};  ///< The property "appVersion".
  std::optional<std::string> vendorIdentifier = {};    ///< The property "deviceId".
  std::optional<std::string> systemName = {};          ///< The property "os.name".
  std::optional<std::string> systemVersion = {};       ///< The property "os.version".

  bool operator==(const DeviceFacts&) const = default;
};

}  // namespace corvo

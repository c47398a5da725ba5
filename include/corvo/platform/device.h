// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <optional>
#include <string>

namespace corvo {

/// Describes the device and the application. A registry of clients calls each function once. While
/// the identifier is absent, the registry asks for it again, at most once a second.
class CORVO_TYPE Device {
 public:
  virtual ~Device() = default;

  /// A stable identifier of this installation, a UUID in upper-case canonical text form.
  [[nodiscard]] virtual std::optional<std::string> vendorIdentifier() const = 0;
  /// The name of the operating system.
  [[nodiscard]] virtual std::optional<std::string> systemName() const = 0;
  /// The version of the operating system: numbers joined by dots.
  [[nodiscard]] virtual std::optional<std::string> systemVersion() const = 0;
  /// The version of the application, as shown to its users.
  [[nodiscard]] virtual std::optional<std::string> applicationVersion() const = 0;
};

}  // namespace corvo

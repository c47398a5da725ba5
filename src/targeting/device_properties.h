// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/device_facts.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "base/civil_time.h"
#include "base/name_index.h"
#include "targeting/local_time.h"

namespace corvo::corvo_internal::targeting {

/// The properties of device, application and clock: "appVersion", "deviceId", "os.name",
/// "os.version", and "time" and "date", which both contain date, hour and minute. Not thread-safe.
class DeviceProperties {
 public:
  struct Property {
    base::HashedName name;
    std::string value;
  };

  explicit DeviceProperties(const DeviceFacts& facts = {});

  /// Sets the clock's texts to a time. Returns whether any text changed. Cheap enough for every
  /// question: the text is rebuilt only when the local minute changes, which is checked once per
  /// second. `zone` identifies the current time zone.
  bool show(double now, std::uint64_t zone, const LocalTime& localTime) {
    if (zone == zone_ && second_ <= now && now < second_ + 1) return false;
    return showAgain(now, zone, localTime);
  }

  [[nodiscard]] const std::array<Property, 6>& list() const noexcept { return list_; }
  /// The properties that show the clock's time.
  [[nodiscard]] std::array<const Property*, 2> clock() const noexcept {
    return {&list_[kTime], &list_[kDate]};
  }
  [[nodiscard]] std::string_view deviceId() const noexcept { return list_[kDeviceId].value; }

 private:
  enum Position : std::size_t { kAppVersion, kDeviceId, kOsName, kOsVersion, kTime, kDate };

  bool showAgain(double now, std::uint64_t zone, const LocalTime& localTime);

  std::array<Property, 6> list_;
  double second_ = std::numeric_limits<double>::quiet_NaN();  // the second of the last check
  std::uint64_t zone_ = 0;
  std::optional<base::LocalSeconds> minute_;
};

/// Whether a name is a property of the device (or the application), of the clock, or of neither.
enum class Shows : std::uint8_t { device, clock, neither };
[[nodiscard]] Shows whatShows(std::string_view name) noexcept;

/// Major and minor number of a system's version joined by a dot, followed by the patch number if it
/// is greater than 0. A missing or invalid number is 0; a fourth number is dropped.
[[nodiscard]] std::string normalisedVersion(std::string_view version);

}  // namespace corvo::corvo_internal::targeting

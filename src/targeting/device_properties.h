#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "base/civil_time.h"
#include "targeting/local_time.h"
#include "targeting/property_layer.h"

namespace corvo::corvo_internal::targeting {

/// What is known about the device and the application.
struct DeviceFacts {
  std::optional<std::string> appVersion;
  std::optional<std::string> deviceId;
  std::optional<std::string> osName;
  std::optional<std::string> osVersion;
};

/// The layer of device, application and clock: "appVersion", "deviceId", "os.name", "os.version",
/// and "time" and "date", which both show date, hour and minute. For one thread at a time.
class DeviceProperties {
 public:
  explicit DeviceProperties(const DeviceFacts& facts);

  /// The layer at a moment. Cheap to ask at every question: the clock's text is made anew when the
  /// local minute has changed, and that is looked at once per second. `zone` identifies the present
  /// time zone. Valid until the next call.
  [[nodiscard]] const PropertyLayer& at(double now, std::uint64_t zone,
                                        const LocalTime& localTime) {
    if (zone != zone_ || !(second_ <= now && now < second_ + 1)) show(now, zone, localTime);
    return layer_;
  }

 private:
  void show(double now, std::uint64_t zone, const LocalTime& localTime);

  PropertyLayer layer_;
  double second_ = std::numeric_limits<double>::quiet_NaN();  // that was last looked at
  std::uint64_t zone_ = 0;
  std::optional<base::LocalSeconds> minute_;
};

/// Major and minor number of a system's version joined by a dot, and the patch number where it is
/// greater than 0. What is missing or no number is 0; a fourth number is dropped.
[[nodiscard]] std::string normalisedVersion(std::string_view version);

}  // namespace corvo::corvo_internal::targeting

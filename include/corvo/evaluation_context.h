#pragma once

#include <corvo/device_facts.h>
#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace corvo {

/// All that an answer depends on besides the project. A plain value; everything but the user has a
/// default. An evaluation refers to the user, or to the properties, until its next `reset`; all
/// else it copies. Text is UTF-8; what is ill-formed is replaced by U+FFFD.
struct EvaluationContext {
  /// The name of a property as conditions have it ("userId", "custom.plan"), and its value.
  using Property = std::pair<std::string_view, std::string_view>;

  /// A user whose properties expire. One without an expiry counts as expired.
  const CorvoUser* user = nullptr;
  /// Where there is no user: properties that do not expire. Of several with one name the first
  /// counts.
  std::span<const Property> properties = {};
  /// The location as the backend's route answers it: "country", without "geo.".
  PropertyMap location = {};
  /// The device's properties. By default they are absent.
  DeviceFacts device = {};
  /// The moment, in seconds since 1970; absent: that of the system's clock at `reset`.
  std::optional<double> now = {};
  /// Null: the system's.
  std::shared_ptr<const TimeZone> timeZone = nullptr;
};

}  // namespace corvo

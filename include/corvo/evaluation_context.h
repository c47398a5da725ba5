// SPDX-License-Identifier: Apache-2.0
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

/// Everything that an answer depends on besides the project. A plain value; every field has a
/// default. An evaluation refers to the user, or to the properties, until its next `reset`,
/// and copies the rest. Text is UTF-8; invalid UTF-8 is replaced with U+FFFD.
struct EvaluationContext {
  /// A property's name, as in conditions ("userId", "custom.plan"), and its value.
  using Property = std::pair<std::string_view, std::string_view>;

  /// A user whose properties expire. A property without an expiry counts as expired.
  const CorvoUser* user = nullptr;
  /// Used if there is no user: properties that do not expire. If names repeat, the first one
  /// counts.
  std::span<const Property> properties = {};
  /// The location with the names that the backend uses: "country", without "geo.".
  PropertyMap location = {};
  /// The device's properties. By default they are absent.
  DeviceFacts device = {};
  /// The moment, in seconds since 1970. If absent, the system clock's time at `reset`.
  std::optional<double> now = {};
  /// If null, the system's time zone.
  std::shared_ptr<const TimeZone> timeZone = nullptr;
};

}  // namespace corvo

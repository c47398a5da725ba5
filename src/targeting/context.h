#pragma once

#include <corvo/user.h>

#include <string>

#include "targeting/local_time.h"
#include "targeting/property_layer.h"

namespace corvo::targeting {

/// All that a decision reads besides the configuration: three layers of properties, the moment of
/// the question, the local time of the device and its identifier, null where it has none.
///
/// A value made for one question; refers to its parts. A layer may be null, which is an empty one.
struct Context {
  const PropertyLayer* user = nullptr;
  const PropertyLayer* device = nullptr;
  const PropertyLayer* location = nullptr;
  double now = 0;
  const LocalTime& localTime;
  const std::string* vendorIdentifier = nullptr;

  /// The user's property of that name, else the device's, else the location's; else null. An
  /// expired one does not hide those behind it.
  [[nodiscard]] const std::string* find(const base::HashedName& name) const {
    const auto in = [&](const PropertyLayer* layer) {
      return layer == nullptr ? nullptr : layer->find(name, now);
    };
    if (const std::string* value = in(user)) return value;
    if (const std::string* value = in(device)) return value;
    return in(location);
  }
};

/// The properties of a user with their expiries. One without an expiry that is a date has expired
/// for good and is left out. The expiry of "userId" is the text of a *property* "corvoExpiration",
/// where the user has one. Expiries are local times: a layer serves as long as the zone does not
/// change.
[[nodiscard]] PropertyLayer userLayer(const CorvoUser& user, const LocalTime& localTime);

/// Properties that do not expire, as those of the location.
[[nodiscard]] PropertyLayer lastingLayer(const PropertyMap& properties);

}  // namespace corvo::targeting

#pragma once

#include <corvo/user.h>

#include <cstdint>
#include <string>

#include "targeting/local_time.h"
#include "targeting/property_layer.h"
#include "targeting/property_table.h"

namespace corvo::corvo_internal::targeting {

/// All that a decision reads besides the configuration: the user's own properties, all properties
/// by the numbers of the configuration's names, the moment of the question, the local time of the
/// device and its identifier, null where it has none.
///
/// A value made for one question; refers to its parts. No properties (null) are none.
struct Context {
  const PropertyLayer* user = nullptr;
  const PropertyTable* properties = nullptr;
  double now = 0;
  const LocalTime& localTime;
  const std::string* vendorIdentifier = nullptr;

  /// The property of that number; null when there is none.
  [[nodiscard]] const std::string* find(std::uint32_t number) const {
    return properties == nullptr ? nullptr : properties->find(number, now);
  }

  /// The user's own property of that name; null when there is none, or it has expired.
  [[nodiscard]] const std::string* findOwn(const base::HashedName& name) const {
    const PropertyLayer::Property* own = user == nullptr ? nullptr : user->find(name);
    return own != nullptr && own->countsAt(now) ? &own->value : nullptr;
  }
};

/// The properties of a user with their expiries. One without an expiry that is a date, and shown by
/// the clocks, has expired for good and is left out. The expiry of "userId" is the text of a
/// *property* "corvoExpiration", where the user has one. Expiries are local times: a layer serves
/// as long as the zone does not change.
[[nodiscard]] PropertyLayer userLayer(const CorvoUser& user, const LocalTime& localTime);

/// Properties that do not expire, as those of the location.
[[nodiscard]] PropertyLayer lastingLayer(const PropertyMap& properties);

}  // namespace corvo::corvo_internal::targeting

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <cstdint>
#include <forward_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "targeting/context.h"
#include "targeting/device_properties.h"
#include "targeting/local_time.h"
#include "targeting/property_names.h"

namespace corvo::corvo_internal::targeting {

/// The name of a property and its value.
using LastingProperty = std::pair<std::string_view, std::string_view>;

/// Creates the contexts of questions about one user at a time. Data derived from the user, the
/// device and the location is reused until one of them is replaced or the zone changes. Refers to
/// them and to the zone. Not thread-safe.
class ContextSource {
 public:
  explicit ContextSource(const TimeZone& zone);
  ContextSource(const ContextSource&) = delete;
  ContextSource& operator=(const ContextSource&) = delete;

  /// A user's properties with their expiry dates. A property whose expiry is missing or is not an
  /// existing local time has expired for good. The expiry of "userId" is the text of a *property*
  /// named "corvoExpiration", if the user has one.
  void setUser(const CorvoUser& user) {
    ++revision_;
    user_ = &user;
    isUserRead_ = false;
  }
  /// A user's properties that do not expire. If several have one name, the first counts. Ill-formed
  /// UTF-8 is replaced.
  void setUser(std::span<const LastingProperty> properties) {
    ++revision_;
    user_ = nullptr;
    properties_ = properties;
    isUserRead_ = false;
  }
  void setDevice(const DeviceFacts& facts);
  void setLocation(const PropertyMap& location) {
    location_ = &location;
    isBehindRead_ = false;
  }
  /// The names of the properties that conditions will test.
  void setNames(const PropertyNames& names);

  /// A context without user and properties.
  [[nodiscard]] Context bare(double now) const {
    return {.now = comparable(now), .localTime = localTime_};
  }
  /// A context with the user and the device's identifier, without properties.
  [[nodiscard]] Context ofUser(double now);
  /// The full context. Valid until the next one is created.
  [[nodiscard]] Context at(double now);

 private:
  void readUser();
  void readRecord();
  void readLasting();
  void putUser(std::uint32_t number, std::string_view value, double expiry);
  void readBehind();

  const TimeZone& zone_;
  LocalTime localTime_;
  std::uint64_t zoneIdentifier_ = 0;
  std::uint64_t revision_ = 0;
  const CorvoUser* user_ = nullptr;
  std::span<const LastingProperty> properties_;  // used if there is no user
  std::forward_list<std::string> repaired_;      // replacements for ill-formed values among them
  const PropertyMap* location_ = nullptr;
  const PropertyNames* names_ = nullptr;
  DeviceProperties device_;
  std::optional<std::string_view> vendorIdentifier_;
  OwnIdentifiers own_;
  PropertyTable table_;
  bool isUserRead_ = false;
  bool isBehindRead_ = false;
};

}  // namespace corvo::corvo_internal::targeting

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

/// Makes the contexts of questions about one user at a time. What is read out of the user, the
/// device and the location serves until another one is set, or the zone changes. Refers to them,
/// and to the zone. For one thread at a time.
class ContextSource {
 public:
  explicit ContextSource(const TimeZone& zone);
  ContextSource(const ContextSource&) = delete;
  ContextSource& operator=(const ContextSource&) = delete;

  /// A user's properties with their expiries. One without an expiry that is a date, and shown by
  /// the clocks, has expired for good. The expiry of "userId" is the text of a *property*
  /// "corvoExpiration", where the user has one.
  void setUser(const CorvoUser& user) {
    ++revision_;
    user_ = &user;
    isUserRead_ = false;
  }
  /// Properties of a user that do not expire. Of several with one name the first counts. Texts that
  /// are ill-formed are mended.
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

  /// A context of nobody and nothing.
  [[nodiscard]] Context bare(double now) const {
    return {.now = comparable(now), .localTime = localTime_};
  }
  /// That of the user and the device's identifier, without properties.
  [[nodiscard]] Context ofUser(double now);
  /// The whole context. Valid until the next one is made.
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
  std::span<const LastingProperty> properties_;  // where there is no user
  std::forward_list<std::string> mended_;        // in place of values among them
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

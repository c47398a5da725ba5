#pragma once

#include <corvo/platform/time_zone.h>
#include <corvo/user.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "client/device_once.h"
#include "targeting/context.h"
#include "targeting/device_properties.h"
#include "targeting/local_time.h"
#include "targeting/property_layer.h"

namespace corvo::client {

/// Makes the targeting context of each question. The layers of user and location are made once per
/// record and time zone, and served until another takes its place. For one thread at a time.
class ContextSource {
 public:
  ContextSource(std::shared_ptr<DeviceOnce> device, std::shared_ptr<const TimeZone> timeZone);

  /// The context at a moment. Valid until the next call.
  [[nodiscard]] targeting::Context at(double now, const std::shared_ptr<const CorvoUser>& user,
                                      const std::shared_ptr<const PropertyMap>& location);

 private:
  // A layer with what it was made from. The record is kept alive: the same pointer means the same
  // record.
  struct UserLayer {
    std::shared_ptr<const CorvoUser> record;
    std::uint64_t zone = 0;
    targeting::PropertyLayer layer;
  };
  struct LocationLayer {
    std::shared_ptr<const PropertyMap> record;
    targeting::PropertyLayer layer;
  };

  std::shared_ptr<DeviceOnce> device_;
  std::shared_ptr<const TimeZone> timeZone_;
  targeting::LocalTime localTime_;
  std::optional<targeting::DeviceProperties> deviceProperties_;
  UserLayer user_;
  LocationLayer location_;
};

}  // namespace corvo::client

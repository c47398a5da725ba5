#include "client/context_source.h"

#include <utility>

namespace corvo::client {

ContextSource::ContextSource(std::shared_ptr<DeviceOnce> device,
                             std::shared_ptr<const TimeZone> timeZone)
    : device_(std::move(device)), timeZone_(std::move(timeZone)), localTime_(*timeZone_) {}

targeting::Context ContextSource::at(double now, const std::shared_ptr<const CorvoUser>& user,
                                     const std::shared_ptr<const PropertyMap>& location) {
  if (!deviceProperties_) deviceProperties_.emplace(device_->facts());
  const std::uint64_t zone = timeZone_->identifier();
  if (user_.record != user || user_.zone != zone) {
    user_ = {user, zone, targeting::userLayer(*user, localTime_)};
  }
  if (location_.record != location) {
    location_ = {location, targeting::lastingLayer(*location)};
  }
  return {.user = &user_.layer,
          .device = &deviceProperties_->at(now, localTime_),
          .location = &location_.layer,
          .now = now,
          .localTime = localTime_};
}

}  // namespace corvo::client

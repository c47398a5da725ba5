#include "client/context_source.h"

#include <utility>

namespace corvo::corvo_internal::client {

ContextSource::ContextSource(Parts parts)
    : parts_(std::move(parts)), localTime_(*parts_.timeZone) {}

const std::shared_ptr<const CorvoUser>& ContextSource::currentUser() {
  auto& slot = parts_.storage->user;
  if (const auto& stored = slot.read()) return stored;
  slot.write(std::make_shared<const CorvoUser>(CorvoUser{PropertyMap(), PropertyMap()}),
             parts_.clock->now(), storage::Origin::makeshift);
  return slot.read();
}

targeting::Context ContextSource::bare(double now) { return {.now = now, .localTime = localTime_}; }

targeting::Context ContextSource::ofUser(double now) {
  const std::shared_ptr<const CorvoUser>& user = currentUser();
  const std::uint64_t zone = parts_.timeZone->identifier();
  if (user_.record != user || user_.zone != zone) makeUserLayer(user, zone);
  if (!deviceId_) learnDevice(now);
  targeting::Context context = bare(now);
  context.user = &user_.layer;
  context.vendorIdentifier = deviceId_ ? &*deviceId_ : nullptr;
  return context;
}

targeting::Context ContextSource::at(double now,
                                     const std::shared_ptr<const project::PreparedProject>& project,
                                     const std::shared_ptr<const PropertyMap>& location) {
  targeting::Context context = ofUser(now);
  if (location_.record != location) makeLocationLayer(location);
  const targeting::PropertyLayer& device = deviceProperties_->at(now, user_.zone, localTime_);
  if (table_.project != project) makeTable(project, device);
  table_.properties.forgetReadings();
  context.properties = &table_.properties;
  return context;
}

// Until the device tells its identifier, it is asked again and again.
void ContextSource::learnDevice(double now) {
  if (deviceProperties_ && !parts_.device->deviceId(now)) return;
  const targeting::DeviceFacts facts = parts_.device->facts(now);
  deviceProperties_.emplace(facts);
  table_.project = nullptr;
  deviceId_ = facts.deviceId;
}

void ContextSource::makeUserLayer(const std::shared_ptr<const CorvoUser>& user,
                                  std::uint64_t zone) {
  user_ = {user, zone, targeting::userLayer(*user, localTime_)};
  table_.project = nullptr;
}

void ContextSource::makeLocationLayer(const std::shared_ptr<const PropertyMap>& location) {
  location_ = {location, targeting::lastingLayer(*location)};
  table_.project = nullptr;
}

void ContextSource::makeTable(const std::shared_ptr<const project::PreparedProject>& project,
                              const targeting::PropertyLayer& device) {
  table_ = {project, targeting::PropertyTable(
                         project->propertyNames(),
                         {.user = &user_.layer, .device = &device, .location = &location_.layer})};
}

}  // namespace corvo::corvo_internal::client

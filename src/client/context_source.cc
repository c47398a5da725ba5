#include "client/context_source.h"

#include <utility>

namespace corvo::client {

ContextSource::ContextSource(Parts parts)
    : parts_(std::move(parts)), localTime_(*parts_.timeZone) {}

const std::shared_ptr<const CorvoUser>& ContextSource::currentUser() {
  auto& slot = parts_.storage->user;
  if (const auto& stored = slot.read()) return stored;
  slot.write(std::make_shared<const CorvoUser>(CorvoUser{PropertyMap(), PropertyMap()}),
             parts_.clock->now());
  return slot.read();
}

targeting::Context ContextSource::bare(double now) { return {.now = now, .localTime = localTime_}; }

targeting::Context ContextSource::ofUser(double now) {
  const std::shared_ptr<const CorvoUser>& user = currentUser();
  const std::uint64_t zone = parts_.timeZone->identifier();
  if (user_.record != user || user_.zone != zone) makeUserLayer(user, zone);
  if (facts_ == nullptr) deviceProperties_.emplace(*(facts_ = &parts_.device->facts()));
  targeting::Context context = bare(now);
  context.user = &user_.layer;
  context.vendorIdentifier = facts_->deviceId ? &*facts_->deviceId : nullptr;
  return context;
}

targeting::Context ContextSource::at(double now,
                                     const std::shared_ptr<const experiments::Project>& project,
                                     const std::shared_ptr<const PropertyMap>& location) {
  targeting::Context context = ofUser(now);
  if (location_.record != location) makeLocationLayer(location);
  const targeting::PropertyLayer& device = deviceProperties_->at(now, user_.zone, localTime_);
  if (table_.project != project) makeTable(project, device);
  context.properties = &table_.properties;
  return context;
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

void ContextSource::makeTable(const std::shared_ptr<const experiments::Project>& project,
                              const targeting::PropertyLayer& device) {
  table_ = {project, targeting::PropertyTable(
                         project->propertyNames(),
                         {.user = &user_.layer, .device = &device, .location = &location_.layer})};
}

}  // namespace corvo::client

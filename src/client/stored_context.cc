// SPDX-License-Identifier: Apache-2.0

#include "client/stored_context.h"

#include <utility>

namespace corvo::corvo_internal::client {

StoredContext::StoredContext(Parts parts) : parts_(std::move(parts)), source_(*parts_.timeZone) {}

const std::shared_ptr<const CorvoUser>& StoredContext::currentUser() {
  auto& slot = parts_.storage->user;
  if (const auto& stored = slot.read()) return stored;
  slot.write(std::make_shared<const CorvoUser>(CorvoUser{PropertyMap(), PropertyMap()}),
             parts_.clock->now(), storage::Origin::placeholder);
  return slot.read();
}

targeting::Context StoredContext::ofUser(double now) {
  settleUser(now);
  return source_.ofUser(now);
}

targeting::Context StoredContext::at(double now,
                                     const std::shared_ptr<const project::PreparedProject>& project,
                                     const std::shared_ptr<const PropertyMap>& location) {
  settleUser(now);
  if (location_ != location) {
    source_.setLocation(*location);
    location_ = location;
  }
  if (project_ != project) {
    source_.setNames(project->propertyNames());
    project_ = project;
  }
  return source_.at(now);
}

// Until the device provides its identifier, it is asked again.
void StoredContext::settleUser(double now) {
  if (const std::shared_ptr<const CorvoUser>& user = currentUser(); user_ != user) {
    source_.setUser(*user);
    user_ = user;
  }
  if (knowsIdentifier_ || (knowsFacts_ && !parts_.device->deviceId(now))) return;
  const DeviceFacts facts = parts_.device->facts(now);
  source_.setDevice(facts);
  knowsFacts_ = true;
  knowsIdentifier_ = facts.vendorIdentifier.has_value();
}

}  // namespace corvo::corvo_internal::client
